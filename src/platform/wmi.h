/// COM and Windows Management Instrumentation: the calls that find the parallel port.
#pragma once

#include <windows.h>

#include <objbase.h>
#include <oleauto.h>
#include <wbemidl.h>

#include <cwchar>

namespace platform {
using ::CoCreateInstance;
using ::CoInitializeEx;
using ::CoInitializeSecurity;
using ::CoSetProxyBlanket;
using ::CoUninitialize;

using ::BSTR;
using ::SysAllocString;
using ::SysFreeString;
using ::VARIANT;
using ::VariantClear;
using ::VariantInit;

using ::HRESULT;
using ::IEnumWbemClassObject;
using ::IWbemClassObject;
using ::IWbemLocator;
using ::IWbemServices;
using ::ULONG;

using std::wcstol;
} // namespace platform
