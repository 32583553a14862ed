/// Who gives back what COM hands out: one small owner each for an interface, a text and a value.
#pragma once

#include "wmi.h"

namespace SLV::Internal {

/// An interface, released at the end.
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

    /// Where a call may put the interface; once.
    Interface** Out() { return &pointer; }

    Interface* Get() const { return pointer; }
    Interface* operator->() const { return pointer; }
    explicit operator bool() const { return pointer != nullptr; }

  private:
    Interface* pointer = nullptr;
};

/// A text as COM wants it, or nothing when there is no memory for it.
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

/// A value of any type.
class Variant {
  public:
    Variant() { platform::VariantInit(&value); }
    ~Variant() { Clear(); }
    Variant(const Variant&) = delete;
    Variant& operator=(const Variant&) = delete;

    void Clear() { platform::VariantClear(&value); }

    /// Where a call may put a value, after Clear().
    platform::VARIANT* Out() { return &value; }

    /// The text that it is; null if it is something else.
    const wchar_t* Text() const { return value.vt == VT_BSTR ? value.bstrVal : nullptr; }

  private:
    platform::VARIANT value{};
};

/// Ends this thread's use of COM, if it was begun.
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
