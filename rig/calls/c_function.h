/// Defines the exported C functions from the rows of vendor_functions.inc: each forwards to Ask().
#pragma once

#include "call.h"

#define VENDOR_C_SIGNATURE(convention, name, result, parameters)                                   \
    rig::kinds::result::Host convention name(C_JOIN(C_PARAMETERS_, C_COUNT parameters) parameters)

// The cast to int32_t sign-extends the status where the result is wider: INVALID_HANDLE_VALUE is
// -1.
#define VENDOR_C_FUNCTION(convention, name, result, parameters)                                    \
    VENDOR_C_SIGNATURE(convention, name, result, parameters) {                                     \
        return static_cast<rig::kinds::result::Host>(static_cast<std::int32_t>(                    \
            rig::Ask(rig::Function::name C_JOIN(C_ARGUMENTS_, C_COUNT parameters))));              \
    }

#define C_COUNT(...) C_NINTH(__VA_ARGS__ __VA_OPT__(, ) 8, 7, 6, 5, 4, 3, 2, 1, 0)
#define C_NINTH(a, b, c, d, e, f, g, h, i, ...) i
#define C_JOIN(left, right) C_JOIN_EXPANDED(left, right)
#define C_JOIN_EXPANDED(left, right) left##right

#define C_PARAMETERS_0() void
#define C_PARAMETERS_1(A) rig::kinds::A::Host a
#define C_PARAMETERS_2(A, B) C_PARAMETERS_1(A), rig::kinds::B::Host b
#define C_PARAMETERS_3(A, B, C) C_PARAMETERS_2(A, B), rig::kinds::C::Host c
#define C_PARAMETERS_4(A, B, C, D) C_PARAMETERS_3(A, B, C), rig::kinds::D::Host d
#define C_PARAMETERS_5(A, B, C, D, E) C_PARAMETERS_4(A, B, C, D), rig::kinds::E::Host e
#define C_PARAMETERS_6(A, B, C, D, E, F) C_PARAMETERS_5(A, B, C, D, E), rig::kinds::F::Host f
#define C_PARAMETERS_7(A, B, C, D, E, F, G) C_PARAMETERS_6(A, B, C, D, E, F), rig::kinds::G::Host g
#define C_PARAMETERS_8(A, B, C, D, E, F, G, H)                                                     \
    C_PARAMETERS_7(A, B, C, D, E, F, G), rig::kinds::H::Host h

#define C_ARGUMENTS_0
#define C_ARGUMENTS_1 , a
#define C_ARGUMENTS_2 C_ARGUMENTS_1, b
#define C_ARGUMENTS_3 C_ARGUMENTS_2, c
#define C_ARGUMENTS_4 C_ARGUMENTS_3, d
#define C_ARGUMENTS_5 C_ARGUMENTS_4, e
#define C_ARGUMENTS_6 C_ARGUMENTS_5, f
#define C_ARGUMENTS_7 C_ARGUMENTS_6, g
#define C_ARGUMENTS_8 C_ARGUMENTS_7, h
