#pragma once

// The 32 response tables bear the numbers 1 to 32 in the order they were made in; the equaliser
// selects them by level. TableOfLevel[level] is the number of the table that level selects.
inline constexpr int ResponseCount = 32;

inline constexpr int TableOfLevel[ResponseCount] = {3,  6,  15, 16, 4,  19, 5,  8,  25, 31, 7,
                                                    10, 20, 12, 28, 24, 23, 9,  32, 17, 13, 1,
                                                    11, 27, 29, 2,  30, 22, 14, 26, 21, 18};
