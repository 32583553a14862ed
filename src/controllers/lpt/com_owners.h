/// Owners of what COM hands out: an interface, a text, a value, and COM itself.
#pragma once

#include "wmi.h"

namespace SLV::Internal {

template <typename Interface>
class ComPtr {
  public:
    ComPtr() = default;
    ~ComPtr() {
        if (pointer != nullptr) {
            pointer->Release();
        }
    }
    ComPtr(const ComPtr&) = delete;
    ComPtr& operator=(const ComPtr&) = delete;

    /// For a call that hands out an interface; use once.
    Interface** Out() { return &pointer; }

    Interface* Get() const { return pointer; }
    Interface* operator->() const { return pointer; }
    explicit operator bool() const { return pointer != nullptr; }

  private:
    Interface* pointer = nullptr;
};

/// A text of COM's; empty when there was no memory for it.
class BStr {
  public:
    explicit BStr(const wchar_t* text) : string(platform::SysAllocString(text)) {}
    ~BStr() { platform::SysFreeString(string); }
    BStr(const BStr&) = delete;
    BStr& operator=(const BStr&) = delete;

    platform::BSTR Get() const { return string; }
    explicit operator bool() const { return string != nullptr; }

  private:
    platform::BSTR string;
};

class Variant {
  public:
    Variant() { platform::VariantInit(&value); }
    ~Variant() { Clear(); }
    Variant(const Variant&) = delete;
    Variant& operator=(const Variant&) = delete;

    void Clear() { platform::VariantClear(&value); }

    /// For a call that hands out a value; Clear() first.
    platform::VARIANT* Out() { return &value; }

    /// Null when the value is not a text.
    const wchar_t* Text() const { return value.vt == VT_BSTR ? value.bstrVal : nullptr; }

  private:
    platform::VARIANT value{};
};

/// Ends this thread's use of COM if it began here.
struct ComSession {
    bool isBegun = false;

    ComSession() = default;
    ~ComSession() {
        if (isBegun) {
            platform::CoUninitialize();
        }
    }
    ComSession(const ComSession&) = delete;
    ComSession& operator=(const ComSession&) = delete;
};

} // namespace SLV::Internal
