#pragma once

// The library is loaded on systems far older than the one it is built on. Where a C library has
// given a function a new version that differs in nothing that the model uses, the old one is bound.

#if defined(__x86_64__) && defined(__gnu_linux__)

// exp without its error handling is a version of glibc 2.29. The one before calls the same
// function and then looks for overflow and underflow, for which it sets errno and answers
// infinity and 0, as the function itself does.
__asm__(".symver exp,exp@GLIBC_2.2.5");

#endif
