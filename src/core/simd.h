// How a kernel asks for one copy per instruction set.
#pragma once

// The loader picks a copy once; all copies give the same bits (-ffp-contract=off everywhere).
#if defined(LUMO_ENABLE_SIMD) && defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__)
#define LUMO_CLONES __attribute__((target_clones("arch=x86-64-v4", "arch=x86-64-v3", "default")))
#else
#define LUMO_CLONES
#endif

// Everything that a kernel calls must become part of it.
#define LUMO_INLINE inline __attribute__((always_inline))

// Marks a loop whose iterations are independent.
#define LUMO_PRAGMA(text) _Pragma(#text)
#define LUMO_SIMD LUMO_PRAGMA(omp simd)
