/// The kinds of parameters that vendor functions have.
#pragma once

#include <cstdint>

#include "d2xx_status.h"
#include "value.h"

namespace rig {

/// How a host passes a parameter.
enum class Passing : std::uint8_t {
    Number,
    Bytes,        ///< their number is the next parameter
    Text,         ///< zero-terminated wide characters
    TextOrNumber, ///< a number or a pointer to characters, as the next parameter says
    Presence,     ///< a pointer that is only compared with null
    Out,          ///< points to where a number or zero-terminated characters go
    InOut,        ///< points to a number that the call may change
    Things,       ///< points to an array; the next parameter is its length
    Either,       ///< a number, or points to a number, bytes, or an array of pointers to texts
    Own,          ///< points to a Value, passed by the rig's own code
    OwnOut        ///< points to where the rig's own code wants a Value
};

/// How a parameter is passed, shown, and changed by faults.
struct Parameter {
    Passing passing = Passing::Number;
    Show in = Show::No;      ///< how the journal shows the input
    Show out = Show::No;     ///< how it shows the output
    unsigned size = 0;       ///< largest output in bytes; of an array, the size of one element
    bool isOptional = false; ///< null is allowed; otherwise it makes the call fail
    bool isCut = false;      ///< bytes or a buffer size that a fault's count limits
    bool isReported = false; ///< if there is a fault with a count, the output is that count
    bool continues = false;  ///< shown after the previous output and a full stop, as in "1.2"
};

/// The buffer size that D2XX expects of a host where no parameter gives one.
inline constexpr unsigned kTextRoom = sizeof(FT_DEVICE_LIST_INFO_NODE::Description);

namespace kinds {

template <class T, Parameter parameter>
struct Kind {
    using Host = T; ///< the C type of the parameter
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
using Length = In<std::uint32_t, Show::No>; ///< of the bytes that the previous parameter points to
using Left = Length;                        ///< how many objects an enumerator still has
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
    Kind<void*, Parameter{.passing = Passing::Presence, .isOptional = true}>; ///< by the vendor

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

// Parameters of COM methods. They have no C type: the objects pack their calls themselves.
template <Parameter parameter>
using Of = Kind<void, parameter>;
using Pointer =
    Of<Parameter{.passing = Passing::Presence, .in = Show::Presence, .isOptional = true}>;
using Proxy = Of<Parameter{.passing = Passing::Presence, .isOptional = true}>;
using Text = Of<Parameter{.passing = Passing::Text, .in = Show::Text, .isOptional = true}>;
using RequiredText = Of<Parameter{.passing = Passing::Text, .in = Show::Text}>;
using Name = Of<Parameter{.passing = Passing::Own, .in = Show::Text}>;
using Instance = Of<Parameter{.passing = Passing::Own}>;
using ObjectOut = Of<Parameter{.passing = Passing::OwnOut}>;
using CountOut =
    Of<Parameter{.passing = Passing::OwnOut, .out = Show::Decimal, .isReported = true}>;
using PropertyOut = Of<Parameter{.passing = Passing::OwnOut, .out = Show::Property}>;

} // namespace kinds

} // namespace rig
