/// The kinds of parameters that vendor functions have.
#pragma once

#include <cstdint>

#include "d2xx_status.h"
#include "value.h"

namespace rig {

/// How a host passes a parameter.
enum class Passing : std::uint8_t {
    Number,
    Bytes,        ///< as many as the parameter behind it says
    Text,         ///< wide characters with a zero behind them
    TextOrNumber, ///< a number, unless the one behind it says that it points to characters
    Presence,     ///< a pointer behind which nobody looks
    Out,          ///< a place for a number, or for characters with a zero behind them
    InOut,        ///< a number that may change
    Things,       ///< room for as many as the parameter behind it says
    Either,       ///< a number; or a place for a number, for bytes, or for texts, one a pointer
    Own,          ///< a value of the rig's own code
    OwnOut        ///< a place for one
};

/// How a parameter is passed, shown, and changed by faults.
struct Parameter {
    Passing passing = Passing::Number;
    Show in = Show::No;      ///< what goes in
    Show out = Show::No;     ///< what comes out
    unsigned size = 0;       ///< of what comes out, in bytes, at most; of several things, of each
    bool isOptional = false; ///< a null pointer is as good; else it refuses the call
    bool isCut = false;      ///< bytes, or room for them: a fault's count is the most of it
    bool isReported = false; ///< what comes out is a fault's count, if there is one
    bool continues = false;  ///< comes out as a part of what stands before it, after a full stop
};

/// What a host has to have room for where it does not say for how much it has.
inline constexpr unsigned kTextRoom = sizeof(FT_DEVICE_LIST_INFO_NODE::Description);

namespace kinds {

template <class T, Parameter parameter>
struct Kind {
    using Host = T; ///< what a host of a C function passes
    static constexpr Parameter kParameter = parameter;
};

template <class T, Show show = Show::Decimal>
using In = Kind<T, Parameter{.in = show}>;
using Byte = In<std::uint8_t>;
using Number = In<std::uint32_t>;
using Signed = In<int>;
using Word = In<std::uint16_t, Show::Hexadecimal>;
using PaddedWord = In<std::uint16_t, Show::Word>;
using Flags = In<std::uint32_t, Show::Hexadecimal>;
using ComStatus = In<std::uint32_t, Show::Status>;
using Length = In<std::uint32_t, Show::No>; ///< of the bytes before it
using Left = Length;                        ///< in the object that is asked for more
using Nothing = In<void, Show::No>;
using Room = Kind<std::uint32_t, Parameter{.in = Show::Decimal, .isCut = true}>;
using Handle = Kind<FT_HANDLE, Parameter{.in = Show::Handle}>;

template <class T, Show show = Show::No, bool isReported = false, bool continues = false>
using Out = Kind<T*, Parameter{.passing = Passing::Out,
                               .out = show,
                               .size = sizeof(T),
                               .isReported = isReported,
                               .continues = continues}>;
using NewHandle = Out<FT_HANDLE>;
using Size = Out<std::uint32_t>;
using Reported = Out<std::uint32_t, Show::Decimal, true>;
using ByteOut = Out<std::uint8_t, Show::Decimal>;
using BitsOut = Out<std::uint8_t, Show::Hexadecimal>;
using NumberOut = Out<std::uint32_t, Show::Decimal>;
using SignedOut = Out<std::int32_t, Show::Decimal>;
using FlagsOut = Out<std::uint32_t, Show::Hexadecimal>;
using Major = ByteOut;
using Minor = Out<std::uint8_t, Show::Decimal, false, true>;
using Build = Out<std::uint16_t, Show::Decimal, false, true>;
using RoomAndReported = Kind<std::uint32_t*, Parameter{.passing = Passing::InOut,
                                                       .in = Show::Decimal,
                                                       .out = Show::Decimal,
                                                       .size = sizeof(std::uint32_t),
                                                       .isReported = true}>;

template <class T, Show show = Show::No>
using OptionalOut =
    Kind<T*,
         Parameter{.passing = Passing::Out, .out = show, .size = sizeof(T), .isOptional = true}>;
using TypeOut = OptionalOut<std::uint32_t, Show::Decimal>;
using IdOut = OptionalOut<std::uint32_t, Show::Hexadecimal>;
using HandleOut = OptionalOut<FT_HANDLE>;
template <unsigned room>
using TextOut =
    Kind<char*,
         Parameter{.passing = Passing::Out, .out = Show::Text, .size = room, .isOptional = true}>;
using SerialOut = TextOut<sizeof(FT_DEVICE_LIST_INFO_NODE::SerialNumber)>;
using DescriptionOut = TextOut<sizeof(FT_DEVICE_LIST_INFO_NODE::Description)>;
using Reserved =
    Kind<void*, Parameter{.passing = Passing::Presence, .isOptional = true}>; ///< for the vendor

using TextOrNumber = Kind<void*, Parameter{.passing = Passing::TextOrNumber, .in = Show::Text}>;
using ListOrIndex =
    Kind<void*, Parameter{.passing = Passing::Either, .out = Show::Bytes, .size = ~0U}>;
using EntryOrCount =
    Kind<void*, Parameter{.passing = Passing::Either, .out = Show::Text, .size = kTextRoom}>;
using FileHandle = In<std::intptr_t, Show::Hexadecimal>;

using BytesIn = Kind<void*, Parameter{.passing = Passing::Bytes, .in = Show::Bytes, .isCut = true}>;
template <class T, class Thing, Show show>
using ThingsOut =
    Kind<T, Parameter{.passing = Passing::Things, .out = show, .size = sizeof(Thing)}>;
using BytesOut = ThingsOut<void*, std::uint8_t, Show::Bytes>;
using Nodes = ThingsOut<FT_DEVICE_LIST_INFO_NODE*, FT_DEVICE_LIST_INFO_NODE, Show::No>;

// Of methods of COM objects, which are no C functions.
template <Parameter parameter>
using Of = Kind<void, parameter>;
using Pointer =
    Of<Parameter{.passing = Passing::Presence, .in = Show::Presence, .isOptional = true}>;
using Proxy = Of<Parameter{.passing = Passing::Presence, .isOptional = true}>;
using Text = Of<Parameter{.passing = Passing::Text, .in = Show::Text, .isOptional = true}>;
using RequiredText = Of<Parameter{.passing = Passing::Text, .in = Show::Text}>;
using Name = Of<Parameter{.passing = Passing::Own, .in = Show::Text}>;
using Instance = Of<Parameter{.passing = Passing::Own}>;
using Made = Of<Parameter{.passing = Passing::OwnOut}>;
using Told = Of<Parameter{.passing = Passing::OwnOut, .out = Show::Decimal, .isReported = true}>;
using PropertyOut = Of<Parameter{.passing = Passing::OwnOut, .out = Show::Property}>;

} // namespace kinds

} // namespace rig
