/// PICMG Embedded API: the calls of a board vendor's EAPI_Library.dll that reach the board's GPIO
/// pins, and nothing else of that library. Statuses are those of the published EAPI.
#pragma once

#include <cstdint>

#if defined(_WIN32)
#define EAPI_CALL __stdcall
#else
#define EAPI_CALL
#endif

extern "C" {

using EApiStatus_t = std::uint32_t;
using EApiId_t = std::uint32_t;

inline constexpr EApiStatus_t EAPI_STATUS_SUCCESS = 0;
inline constexpr EApiStatus_t EAPI_STATUS_INITIALIZED = 0xFFFF'FFFE; ///< already initialised

inline constexpr std::uint32_t EAPI_GPIO_OUTPUT = 0;
inline constexpr std::uint32_t EAPI_GPIO_INPUT = 1;

EApiStatus_t EAPI_CALL EApiLibInitialize(void);
EApiStatus_t EAPI_CALL EApiLibUnInitialize(void);

/// The vendor's version of the library, from its most significant part on.
EApiStatus_t EAPI_CALL EApiGetEAPIVersion(std::uint8_t* major, std::uint8_t* minor,
                                          std::uint8_t* patch, std::uint16_t* build);

EApiStatus_t EAPI_CALL EApiGPIOGetCount(std::uint32_t* count);

// Each bit of a mask is one pin; a GPIO id below the count is one pin, whose mask is 1.
EApiStatus_t EAPI_CALL EApiGPIOSetDirection(EApiId_t id, std::uint32_t mask,
                                            std::uint32_t direction);
EApiStatus_t EAPI_CALL EApiGPIOGetLevel(EApiId_t id, std::uint32_t mask, std::uint32_t* level);
EApiStatus_t EAPI_CALL EApiGPIOSetLevel(EApiId_t id, std::uint32_t mask, std::uint32_t level);

} // extern "C"
