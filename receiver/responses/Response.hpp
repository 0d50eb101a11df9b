#pragma once

#include <vector>

// An impulse response while the tables are being made: times in seconds, values in 1/s.
struct Response
{
    std::vector<double> Times;
    std::vector<double> Values;
};
