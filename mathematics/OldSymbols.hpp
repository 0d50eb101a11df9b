#pragma once

// The library is loaded on systems far older than the one it is built on. Where a C library has
// given a function a new version that differs in nothing that the model uses, the old one is bound.

// exp without its error handling is a version of glibc 2.29. The one before calls the same
// function and then looks for overflow and underflow, for which it sets errno and answers
// infinity and 0, as the function itself does.
#if defined(__gnu_linux__) && defined(__x86_64__)
__asm__(".symver exp,exp@GLIBC_2.2.5");
#elif defined(__gnu_linux__) && defined(__aarch64__)
__asm__(".symver exp,exp@GLIBC_2.17");
#endif
