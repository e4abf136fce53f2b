#ifndef KSR_SAPI_STANDIN_WINDOWS_STANDIN_H
#define KSR_SAPI_STANDIN_WINDOWS_STANDIN_H

// The part of Win32 and COM that the SAPI back end uses, declared for
// platforms without Windows so that the back end compiles and is tested
// unchanged. Types, names, signatures and constant values are those of the
// Windows SDK; behaviour that matters to callers is reproduced in
// com_runtime.cpp:
//   - CoCreateInstance answers CO_E_NOTINITIALIZED on a thread that has not
//     called CoInitializeEx, creates classes registered with
//     CoRegisterClassObject, and answers REGDB_E_CLASSNOTREG for every other
//     class (no speech recognizer is installed here);
//   - CoTaskMemAlloc/CoTaskMemFree keep count of the blocks in use;
//   - Win32 events (CreateEventW, SetEvent, WaitForSingleObject, CloseHandle)
//     behave as auto-reset or manual-reset events.
// WCHAR is a 16-bit code unit (char16_t) as on Windows, so text handed to COM
// is UTF-16 on both platforms.

#include <cstddef>
#include <cstdint>

#define STDMETHODCALLTYPE
#define WINAPI

typedef std::uint8_t BYTE;
typedef BYTE byte;
typedef std::uint16_t WORD;
typedef std::int16_t SHORT;
typedef std::uint16_t USHORT;
typedef std::int32_t LONG;
typedef std::uint32_t ULONG;
typedef std::uint32_t DWORD;
typedef int INT;
typedef unsigned int UINT;
typedef int BOOL;
typedef BOOL WINBOOL;
typedef float FLOAT;
typedef double DOUBLE;
typedef std::int64_t LONGLONG;
typedef std::uint64_t ULONGLONG;
typedef std::intptr_t INT_PTR;
typedef std::intptr_t LONG_PTR;
typedef std::uintptr_t UINT_PTR;
typedef std::uintptr_t ULONG_PTR;
typedef std::size_t SIZE_T;
typedef UINT_PTR WPARAM;
typedef LONG_PTR LPARAM;
typedef DWORD* LPDWORD;
typedef void* LPVOID;
typedef WORD LANGID;
typedef LONG HRESULT;

typedef char16_t WCHAR;
typedef WCHAR* LPWSTR;
typedef const WCHAR* LPCWSTR;
typedef WCHAR OLECHAR;
typedef OLECHAR* BSTR;

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif

typedef void* HANDLE;
#define DECLARE_HANDLE(name) \
    struct name##__ {        \
        int unused;          \
    };                       \
    typedef struct name##__* name
DECLARE_HANDLE(HWND);
DECLARE_HANDLE(HINSTANCE);
typedef HINSTANCE HMODULE;

// ---- GUIDs ----------------------------------------------------------------
struct GUID {
    std::uint32_t Data1;
    std::uint16_t Data2;
    std::uint16_t Data3;
    std::uint8_t Data4[8];
};
typedef GUID IID;
typedef GUID CLSID;
typedef const GUID& REFGUID;
typedef const IID& REFIID;
typedef const CLSID& REFCLSID;

inline bool IsEqualGUID(REFGUID a, REFGUID b)
{
    if (a.Data1 != b.Data1 || a.Data2 != b.Data2 || a.Data3 != b.Data3)
        return false;
    for (int i = 0; i < 8; ++i)
        if (a.Data4[i] != b.Data4[i])
            return false;
    return true;
}
#define IsEqualIID(a, b) IsEqualGUID(a, b)
#define IsEqualCLSID(a, b) IsEqualGUID(a, b)
inline bool operator==(REFGUID a, REFGUID b) { return IsEqualGUID(a, b); }
inline bool operator!=(REFGUID a, REFGUID b) { return !IsEqualGUID(a, b); }

// ---- Result codes ---------------------------------------------------------
#define SUCCEEDED(hr) (((HRESULT)(hr)) >= 0)
#define FAILED(hr) (((HRESULT)(hr)) < 0)
#define HRESULT_VALUE(v) ((HRESULT)(std::uint32_t)(v))

#define S_OK HRESULT_VALUE(0x00000000)
#define S_FALSE HRESULT_VALUE(0x00000001)
#define E_NOTIMPL HRESULT_VALUE(0x80004001)
#define E_NOINTERFACE HRESULT_VALUE(0x80004002)
#define E_POINTER HRESULT_VALUE(0x80004003)
#define E_ABORT HRESULT_VALUE(0x80004004)
#define E_FAIL HRESULT_VALUE(0x80004005)
#define E_UNEXPECTED HRESULT_VALUE(0x8000FFFF)
#define E_ACCESSDENIED HRESULT_VALUE(0x80070005)
#define E_HANDLE HRESULT_VALUE(0x80070006)
#define E_OUTOFMEMORY HRESULT_VALUE(0x8007000E)
#define E_INVALIDARG HRESULT_VALUE(0x80070057)
#define CLASS_E_NOAGGREGATION HRESULT_VALUE(0x80040110)
#define CLASS_E_CLASSNOTAVAILABLE HRESULT_VALUE(0x80040111)
#define REGDB_E_CLASSNOTREG HRESULT_VALUE(0x80040154)
#define CO_E_NOTINITIALIZED HRESULT_VALUE(0x800401F0)
#define CO_E_OBJNOTREG HRESULT_VALUE(0x800401FB)
#define RPC_E_CHANGED_MODE HRESULT_VALUE(0x80010106)

// ---- IUnknown and IClassFactory --------------------------------------------
struct IUnknown {
    virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) = 0;
    virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
    virtual ULONG STDMETHODCALLTYPE Release() = 0;
};
typedef IUnknown* LPUNKNOWN;

struct IClassFactory : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* pUnkOuter, REFIID riid,
                                                     void** ppvObject) = 0;
    virtual HRESULT STDMETHODCALLTYPE LockServer(BOOL fLock) = 0;
};

struct IStream;  // only named in signatures

extern const IID IID_IUnknown;
extern const IID IID_IClassFactory;

// ---- Activation -----------------------------------------------------------
enum tagCLSCTX {
    CLSCTX_INPROC_SERVER = 0x1,
    CLSCTX_INPROC_HANDLER = 0x2,
    CLSCTX_LOCAL_SERVER = 0x4,
    CLSCTX_REMOTE_SERVER = 0x10
};
#define CLSCTX_ALL (CLSCTX_INPROC_SERVER | CLSCTX_INPROC_HANDLER | CLSCTX_LOCAL_SERVER | CLSCTX_REMOTE_SERVER)

enum tagREGCLS { REGCLS_SINGLEUSE = 0, REGCLS_MULTIPLEUSE = 1, REGCLS_MULTI_SEPARATE = 2 };
enum tagCOINIT { COINIT_MULTITHREADED = 0x0, COINIT_APARTMENTTHREADED = 0x2 };

HRESULT CoInitializeEx(LPVOID pvReserved, DWORD dwCoInit);
void CoUninitialize();
HRESULT CoCreateInstance(REFCLSID rclsid, LPUNKNOWN pUnkOuter, DWORD dwClsContext, REFIID riid,
                         LPVOID* ppv);
HRESULT CoRegisterClassObject(REFCLSID rclsid, LPUNKNOWN pUnk, DWORD dwClsContext, DWORD flags,
                              LPDWORD lpdwRegister);
HRESULT CoRevokeClassObject(DWORD dwRegister);
LPVOID CoTaskMemAlloc(SIZE_T cb);
void CoTaskMemFree(LPVOID pv);

// ---- VARIANT --------------------------------------------------------------
typedef unsigned short VARTYPE;
typedef short VARIANT_BOOL;
enum VARENUM {
    VT_EMPTY = 0,
    VT_NULL = 1,
    VT_I2 = 2,
    VT_I4 = 3,
    VT_R4 = 4,
    VT_R8 = 5,
    VT_BSTR = 8,
    VT_BOOL = 11,
    VT_UNKNOWN = 13,
    VT_UI1 = 17,
    VT_UI4 = 19,
    VT_I8 = 20,
    VT_INT = 22,
    VT_UINT = 23
};

struct VARIANT {
    VARTYPE vt;
    WORD wReserved1;
    WORD wReserved2;
    WORD wReserved3;
    union {
        LONGLONG llVal;
        LONG lVal;
        BYTE bVal;
        SHORT iVal;
        FLOAT fltVal;
        DOUBLE dblVal;
        VARIANT_BOOL boolVal;
        BSTR bstrVal;
        IUnknown* punkVal;
        ULONG ulVal;
        INT intVal;
        UINT uintVal;
        void* recordPair[2];  // keeps the size of the real union (BRECORD)
    };
};
typedef VARIANT VARIANTARG;
#define V_VT(v) ((v)->vt)
#define V_I4(v) ((v)->lVal)

void VariantInit(VARIANTARG* pvarg);
HRESULT VariantClear(VARIANTARG* pvarg);
BSTR SysAllocString(const OLECHAR* psz);
void SysFreeString(BSTR bstrString);

// ---- Events ---------------------------------------------------------------
#define INFINITE 0xFFFFFFFFu
#define WAIT_OBJECT_0 0x00000000u
#define WAIT_TIMEOUT 0x00000102u
#define WAIT_FAILED 0xFFFFFFFFu

HANDLE CreateEventW(void* lpEventAttributes, BOOL bManualReset, BOOL bInitialState, LPCWSTR lpName);
BOOL SetEvent(HANDLE hEvent);
BOOL ResetEvent(HANDLE hEvent);
BOOL CloseHandle(HANDLE hObject);
DWORD WaitForSingleObject(HANDLE hHandle, DWORD dwMilliseconds);

#endif
