/// Windows Management Instrumentation as its clients see it: every method, in the order in which
/// the system calls them.
#pragma once

#include <oleauto.h>
#include <unknwn.h>

using CIMTYPE = LONG;
enum CIMTYPE_ENUMERATION { CIM_SINT32 = 3, CIM_STRING = 8 };
enum WBEM_TIMEOUT_TYPE { WBEM_NO_WAIT = 0, WBEM_INFINITE = static_cast<int>(0xffffffff) };
enum WBEM_GENERIC_FLAG_TYPE { WBEM_FLAG_FORWARD_ONLY = 0x20 };
enum WBEM_CONNECT_OPTIONS { WBEM_FLAG_CONNECT_USE_MAX_WAIT = 0x80 };
enum WBEMSTATUS { WBEM_S_NO_ERROR = 0, WBEM_S_FALSE = 1 };

struct IWbemCallResult;
struct IWbemContext;
struct IWbemObjectSink;
struct IWbemQualifierSet;
struct SAFEARRAY;
struct IEnumWbemClassObject;
struct IWbemClassObject;
struct IWbemServices;

inline constexpr CLSID CLSID_WbemLocator = {
    0x4590f811, 0x1d3a, 0x11d0, {0x89, 0x1f, 0x00, 0xaa, 0x00, 0x4b, 0x2e, 0x24}};
inline constexpr IID IID_IWbemLocator = {
    0xdc12a687, 0x737f, 0x11cf, {0x88, 0x4d, 0x00, 0xaa, 0x00, 0x4b, 0x2e, 0x24}};
inline constexpr IID IID_IWbemServices = {
    0x9556dc99, 0x828c, 0x11cf, {0xa3, 0x7e, 0x00, 0xaa, 0x00, 0x32, 0x40, 0xc7}};
inline constexpr IID IID_IEnumWbemClassObject = {
    0x027947e1, 0xd731, 0x11ce, {0xa3, 0x57, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01}};
inline constexpr IID IID_IWbemClassObject = {
    0xdc12a681, 0x737f, 0x11cf, {0x88, 0x4d, 0x00, 0xaa, 0x00, 0x4b, 0x2e, 0x24}};

struct IWbemLocator : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE ConnectServer(const BSTR path, const BSTR user,
                                                    const BSTR password, const BSTR locale,
                                                    LONG flags, const BSTR authority,
                                                    IWbemContext* context,
                                                    IWbemServices** services) = 0;
};

struct IWbemServices : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE OpenNamespace(const BSTR path, LONG flags,
                                                    IWbemContext* context, IWbemServices** services,
                                                    IWbemCallResult** result) = 0;
    virtual HRESULT STDMETHODCALLTYPE CancelAsyncCall(IWbemObjectSink* sink) = 0;
    virtual HRESULT STDMETHODCALLTYPE QueryObjectSink(LONG flags, IWbemObjectSink** sink) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetObject(const BSTR path, LONG flags, IWbemContext* context,
                                                IWbemClassObject** object,
                                                IWbemCallResult** result) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetObjectAsync(const BSTR path, LONG flags,
                                                     IWbemContext* context,
                                                     IWbemObjectSink* sink) = 0;
    virtual HRESULT STDMETHODCALLTYPE PutClass(IWbemClassObject* object, LONG flags,
                                               IWbemContext* context, IWbemCallResult** result) = 0;
    virtual HRESULT STDMETHODCALLTYPE PutClassAsync(IWbemClassObject* object, LONG flags,
                                                    IWbemContext* context,
                                                    IWbemObjectSink* sink) = 0;
    virtual HRESULT STDMETHODCALLTYPE DeleteClass(const BSTR className, LONG flags,
                                                  IWbemContext* context,
                                                  IWbemCallResult** result) = 0;
    virtual HRESULT STDMETHODCALLTYPE DeleteClassAsync(const BSTR className, LONG flags,
                                                       IWbemContext* context,
                                                       IWbemObjectSink* sink) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateClassEnum(const BSTR className, LONG flags,
                                                      IWbemContext* context,
                                                      IEnumWbemClassObject** objects) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateClassEnumAsync(const BSTR className, LONG flags,
                                                           IWbemContext* context,
                                                           IWbemObjectSink* sink) = 0;
    virtual HRESULT STDMETHODCALLTYPE PutInstance(IWbemClassObject* object, LONG flags,
                                                  IWbemContext* context,
                                                  IWbemCallResult** result) = 0;
    virtual HRESULT STDMETHODCALLTYPE PutInstanceAsync(IWbemClassObject* object, LONG flags,
                                                       IWbemContext* context,
                                                       IWbemObjectSink* sink) = 0;
    virtual HRESULT STDMETHODCALLTYPE DeleteInstance(const BSTR path, LONG flags,
                                                     IWbemContext* context,
                                                     IWbemCallResult** result) = 0;
    virtual HRESULT STDMETHODCALLTYPE DeleteInstanceAsync(const BSTR path, LONG flags,
                                                          IWbemContext* context,
                                                          IWbemObjectSink* sink) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateInstanceEnum(const BSTR className, LONG flags,
                                                         IWbemContext* context,
                                                         IEnumWbemClassObject** objects) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateInstanceEnumAsync(const BSTR className, LONG flags,
                                                              IWbemContext* context,
                                                              IWbemObjectSink* sink) = 0;
    virtual HRESULT STDMETHODCALLTYPE ExecQuery(const BSTR language, const BSTR query, LONG flags,
                                                IWbemContext* context,
                                                IEnumWbemClassObject** objects) = 0;
    virtual HRESULT STDMETHODCALLTYPE ExecQueryAsync(const BSTR language, const BSTR query,
                                                     LONG flags, IWbemContext* context,
                                                     IWbemObjectSink* sink) = 0;
    virtual HRESULT STDMETHODCALLTYPE ExecNotificationQuery(const BSTR language, const BSTR query,
                                                            LONG flags, IWbemContext* context,
                                                            IEnumWbemClassObject** objects) = 0;
    virtual HRESULT STDMETHODCALLTYPE ExecNotificationQueryAsync(const BSTR language,
                                                                 const BSTR query, LONG flags,
                                                                 IWbemContext* context,
                                                                 IWbemObjectSink* sink) = 0;
    virtual HRESULT STDMETHODCALLTYPE ExecMethod(const BSTR path, const BSTR method, LONG flags,
                                                 IWbemContext* context, IWbemClassObject* input,
                                                 IWbemClassObject** output,
                                                 IWbemCallResult** result) = 0;
    virtual HRESULT STDMETHODCALLTYPE ExecMethodAsync(const BSTR path, const BSTR method,
                                                      LONG flags, IWbemContext* context,
                                                      IWbemClassObject* input,
                                                      IWbemObjectSink* sink) = 0;
};

struct IEnumWbemClassObject : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Reset() = 0;
    virtual HRESULT STDMETHODCALLTYPE Next(LONG timeout, ULONG count, IWbemClassObject** objects,
                                           ULONG* returned) = 0;
    virtual HRESULT STDMETHODCALLTYPE NextAsync(ULONG count, IWbemObjectSink* sink) = 0;
    virtual HRESULT STDMETHODCALLTYPE Clone(IEnumWbemClassObject** objects) = 0;
    virtual HRESULT STDMETHODCALLTYPE Skip(LONG timeout, ULONG count) = 0;
};

struct IWbemClassObject : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE GetQualifierSet(IWbemQualifierSet** qualifiers) = 0;
    virtual HRESULT STDMETHODCALLTYPE Get(LPCWSTR name, LONG flags, VARIANT* value, CIMTYPE* type,
                                          LONG* flavor) = 0;
    virtual HRESULT STDMETHODCALLTYPE Put(LPCWSTR name, LONG flags, VARIANT* value,
                                          CIMTYPE type) = 0;
    virtual HRESULT STDMETHODCALLTYPE Delete(LPCWSTR name) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetNames(LPCWSTR qualifier, LONG flags, VARIANT* value,
                                               SAFEARRAY** names) = 0;
    virtual HRESULT STDMETHODCALLTYPE BeginEnumeration(LONG flags) = 0;
    virtual HRESULT STDMETHODCALLTYPE Next(LONG flags, BSTR* name, VARIANT* value, CIMTYPE* type,
                                           LONG* flavor) = 0;
    virtual HRESULT STDMETHODCALLTYPE EndEnumeration() = 0;
    virtual HRESULT STDMETHODCALLTYPE GetPropertyQualifierSet(LPCWSTR property,
                                                              IWbemQualifierSet** qualifiers) = 0;
    virtual HRESULT STDMETHODCALLTYPE Clone(IWbemClassObject** copy) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetObjectText(LONG flags, BSTR* text) = 0;
    virtual HRESULT STDMETHODCALLTYPE SpawnDerivedClass(LONG flags, IWbemClassObject** object) = 0;
    virtual HRESULT STDMETHODCALLTYPE SpawnInstance(LONG flags, IWbemClassObject** object) = 0;
    virtual HRESULT STDMETHODCALLTYPE CompareTo(LONG flags, IWbemClassObject* other) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetPropertyOrigin(LPCWSTR name, BSTR* className) = 0;
    virtual HRESULT STDMETHODCALLTYPE InheritsFrom(LPCWSTR ancestor) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetMethod(LPCWSTR name, LONG flags, IWbemClassObject** input,
                                                IWbemClassObject** output) = 0;
    virtual HRESULT STDMETHODCALLTYPE PutMethod(LPCWSTR name, LONG flags, IWbemClassObject* input,
                                                IWbemClassObject* output) = 0;
    virtual HRESULT STDMETHODCALLTYPE DeleteMethod(LPCWSTR name) = 0;
    virtual HRESULT STDMETHODCALLTYPE BeginMethodEnumeration(LONG flags) = 0;
    virtual HRESULT STDMETHODCALLTYPE NextMethod(LONG flags, BSTR* name, IWbemClassObject** input,
                                                 IWbemClassObject** output) = 0;
    virtual HRESULT STDMETHODCALLTYPE EndMethodEnumeration() = 0;
    virtual HRESULT STDMETHODCALLTYPE GetMethodQualifierSet(LPCWSTR method,
                                                            IWbemQualifierSet** qualifiers) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetMethodOrigin(LPCWSTR method, BSTR* className) = 0;
};
