#pragma once

/// Before a function whose loops take most of the time of something: compiled for several
/// instruction sets, of which the processor decides when the program starts. All of these variants
/// give the same bits, since nothing is compiled to fuse a multiplication with an addition.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__)
#define WIDE __attribute__((target_clones("avx512f", "avx2", "default")))
#else
#define WIDE
#endif
