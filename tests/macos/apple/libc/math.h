// What <math.h> of macOS declares: the C++ library's header needs nearly all of it.
#pragma once

#include <sys/types.h>

#define HUGE_VAL __builtin_huge_val()
#define INFINITY __builtin_inff()
#define NAN __builtin_nanf("")
#define FP_NAN 1
#define FP_INFINITE 2
#define FP_ZERO 3
#define FP_NORMAL 4
#define FP_SUBNORMAL 5
#define fpclassify(x) __builtin_fpclassify(FP_NAN, FP_INFINITE, FP_NORMAL, FP_SUBNORMAL, FP_ZERO, x)
#define isfinite(x) __builtin_isfinite(x)
#define isinf(x) __builtin_isinf(x)
#define isnan(x) __builtin_isnan(x)
#define isnormal(x) __builtin_isnormal(x)
#define signbit(x) __builtin_signbit(x)
#define isgreater(x, y) __builtin_isgreater(x, y)
#define isgreaterequal(x, y) __builtin_isgreaterequal(x, y)
#define isless(x, y) __builtin_isless(x, y)
#define islessequal(x, y) __builtin_islessequal(x, y)
#define islessgreater(x, y) __builtin_islessgreater(x, y)
#define isunordered(x, y) __builtin_isunordered(x, y)

typedef float float_t;
typedef double double_t;

// clang-format off
#define KX_TYPES(declare, name) \
    declare(float, name##f) declare(double, name) declare(long double, name##l)
#define KX_ONE(type, name) type name(type);
#define KX_TWO(type, name) type name(type, type);
#define KX_THREE(type, name) type name(type, type, type);
#define KX_WITH_INT(type, name) type name(type, int);
#define KX_WITH_LONG(type, name) type name(type, long);
#define KX_WITH_LONG_DOUBLE(type, name) type name(type, long double);
#define KX_TO_INT(type, name) int name(type);
#define KX_TO_LONG(type, name) long name(type);
#define KX_TO_LONG_LONG(type, name) long long name(type);
#define KX_FREXP(type, name) type name(type, int*);
#define KX_MODF(type, name) type name(type, type*);
#define KX_REMQUO(type, name) type name(type, type, int*);
#define KX_OF_TEXT(type, name) type name(const char*);

KX_BEGIN
KX_TYPES(KX_ONE, acos) KX_TYPES(KX_ONE, acosh) KX_TYPES(KX_ONE, asin) KX_TYPES(KX_ONE, asinh)
KX_TYPES(KX_ONE, atan) KX_TYPES(KX_ONE, atanh) KX_TYPES(KX_ONE, cbrt) KX_TYPES(KX_ONE, ceil)
KX_TYPES(KX_ONE, cos) KX_TYPES(KX_ONE, cosh) KX_TYPES(KX_ONE, erf) KX_TYPES(KX_ONE, erfc)
KX_TYPES(KX_ONE, exp) KX_TYPES(KX_ONE, exp2) KX_TYPES(KX_ONE, expm1) KX_TYPES(KX_ONE, fabs)
KX_TYPES(KX_ONE, floor) KX_TYPES(KX_ONE, lgamma) KX_TYPES(KX_ONE, log) KX_TYPES(KX_ONE, log10)
KX_TYPES(KX_ONE, log1p) KX_TYPES(KX_ONE, log2) KX_TYPES(KX_ONE, logb) KX_TYPES(KX_ONE, nearbyint)
KX_TYPES(KX_ONE, rint) KX_TYPES(KX_ONE, round) KX_TYPES(KX_ONE, sin) KX_TYPES(KX_ONE, sinh)
KX_TYPES(KX_ONE, sqrt) KX_TYPES(KX_ONE, tan) KX_TYPES(KX_ONE, tanh) KX_TYPES(KX_ONE, tgamma)
KX_TYPES(KX_ONE, trunc)
KX_TYPES(KX_TWO, atan2) KX_TYPES(KX_TWO, copysign) KX_TYPES(KX_TWO, fdim) KX_TYPES(KX_TWO, fmax)
KX_TYPES(KX_TWO, fmin) KX_TYPES(KX_TWO, fmod) KX_TYPES(KX_TWO, hypot) KX_TYPES(KX_TWO, nextafter)
KX_TYPES(KX_TWO, pow) KX_TYPES(KX_TWO, remainder)
KX_TYPES(KX_THREE, fma)
KX_TYPES(KX_WITH_INT, ldexp) KX_TYPES(KX_WITH_INT, scalbn) KX_TYPES(KX_WITH_LONG, scalbln)
KX_TYPES(KX_WITH_LONG_DOUBLE, nexttoward)
KX_TYPES(KX_TO_INT, ilogb) KX_TYPES(KX_TO_LONG, lrint) KX_TYPES(KX_TO_LONG, lround)
KX_TYPES(KX_TO_LONG_LONG, llrint) KX_TYPES(KX_TO_LONG_LONG, llround)
KX_TYPES(KX_FREXP, frexp) KX_TYPES(KX_MODF, modf) KX_TYPES(KX_REMQUO, remquo)
KX_TYPES(KX_OF_TEXT, nan)
KX_END
    // clang-format on
