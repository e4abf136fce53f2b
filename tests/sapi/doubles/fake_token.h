#ifndef KSR_TESTS_SAPI_FAKE_TOKEN_H
#define KSR_TESTS_SAPI_FAKE_TOKEN_H

#include <mutex>
#include <string>

#include "fake_com.h"

namespace SapiFakes {

// ISpDataKey methods that no double here needs.
#define KSR_FAKE_DATA_KEY_METHODS                                                                          \
    HRESULT STDMETHODCALLTYPE SetData(LPCWSTR, ULONG, const BYTE*) override KSR_FAKE_UNEXPECTED(SetData)      \
    HRESULT STDMETHODCALLTYPE GetData(LPCWSTR, ULONG*, BYTE*) override KSR_FAKE_UNEXPECTED(GetData)          \
    HRESULT STDMETHODCALLTYPE SetStringValue(LPCWSTR, LPCWSTR) override KSR_FAKE_UNEXPECTED(SetStringValue)  \
    HRESULT STDMETHODCALLTYPE GetStringValue(LPCWSTR, LPWSTR*) override KSR_FAKE_UNEXPECTED(GetStringValue)  \
    HRESULT STDMETHODCALLTYPE SetDWORD(LPCWSTR, DWORD) override KSR_FAKE_UNEXPECTED(SetDWORD)                \
    HRESULT STDMETHODCALLTYPE GetDWORD(LPCWSTR, DWORD*) override KSR_FAKE_UNEXPECTED(GetDWORD)               \
    HRESULT STDMETHODCALLTYPE OpenKey(LPCWSTR, ISpDataKey**) override KSR_FAKE_UNEXPECTED(OpenKey)           \
    HRESULT STDMETHODCALLTYPE CreateKey(LPCWSTR, ISpDataKey**) override KSR_FAKE_UNEXPECTED(CreateKey)       \
    HRESULT STDMETHODCALLTYPE DeleteKey(LPCWSTR) override KSR_FAKE_UNEXPECTED(DeleteKey)                     \
    HRESULT STDMETHODCALLTYPE DeleteValue(LPCWSTR) override KSR_FAKE_UNEXPECTED(DeleteValue)                 \
    HRESULT STDMETHODCALLTYPE EnumKeys(ULONG, LPWSTR*) override KSR_FAKE_UNEXPECTED(EnumKeys)                \
    HRESULT STDMETHODCALLTYPE EnumValues(ULONG, LPWSTR*) override KSR_FAKE_UNEXPECTED(EnumValues)

// ISpObjectTokenCategory. Logs as "TokenCategory"; its default token id is
// the one given at creation.
class FakeTokenCategory final : public FakeUnknown<ISpObjectTokenCategory> {
public:
    explicit FakeTokenCategory(std::string defaultTokenId);
    ~FakeTokenCategory() override;
    std::string logName() const { return "TokenCategory"; }
    std::string id() const;

    KSR_FAKE_DATA_KEY_METHODS
    HRESULT STDMETHODCALLTYPE SetId(LPCWSTR pszCategoryId, BOOL fCreateIfNotExist) override;
    HRESULT STDMETHODCALLTYPE GetId(LPWSTR*) override KSR_FAKE_UNEXPECTED(GetId)
    HRESULT STDMETHODCALLTYPE GetDataKey(SPDATAKEYLOCATION, ISpDataKey**) override KSR_FAKE_UNEXPECTED(GetDataKey)
    HRESULT STDMETHODCALLTYPE EnumTokens(LPCWSTR, LPCWSTR, IEnumSpObjectTokens**) override KSR_FAKE_UNEXPECTED(EnumTokens)
    HRESULT STDMETHODCALLTYPE SetDefaultTokenId(LPCWSTR) override KSR_FAKE_UNEXPECTED(SetDefaultTokenId)
    HRESULT STDMETHODCALLTYPE GetDefaultTokenId(LPWSTR* ppszCoMemTokenId) override;

protected:
    bool implements(REFIID riid) const override;

private:
    const std::string m_defaultTokenId;
    mutable std::mutex m_mutex;
    std::string m_id;
};

// ISpObjectToken. Logs as "Token".
class FakeToken final : public FakeUnknown<ISpObjectToken> {
public:
    FakeToken();
    ~FakeToken() override;
    std::string logName() const { return "Token"; }

    KSR_FAKE_DATA_KEY_METHODS
    HRESULT STDMETHODCALLTYPE SetId(LPCWSTR pszCategoryId, LPCWSTR pszTokenId, BOOL fCreateIfNotExist) override;
    HRESULT STDMETHODCALLTYPE GetId(LPWSTR* ppszCoMemTokenId) override;
    HRESULT STDMETHODCALLTYPE GetCategory(ISpObjectTokenCategory**) override KSR_FAKE_UNEXPECTED(GetCategory)
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, DWORD, REFIID, void**) override KSR_FAKE_UNEXPECTED(CreateInstance)
    HRESULT STDMETHODCALLTYPE GetStorageFileName(REFCLSID, LPCWSTR, LPCWSTR, ULONG, LPWSTR*) override
        KSR_FAKE_UNEXPECTED(GetStorageFileName)
    HRESULT STDMETHODCALLTYPE RemoveStorageFileName(REFCLSID, LPCWSTR, BOOL) override
        KSR_FAKE_UNEXPECTED(RemoveStorageFileName)
    HRESULT STDMETHODCALLTYPE Remove(const CLSID*) override KSR_FAKE_UNEXPECTED(Remove)
    HRESULT STDMETHODCALLTYPE IsUISupported(LPCWSTR, void*, ULONG, IUnknown*, BOOL*) override
        KSR_FAKE_UNEXPECTED(IsUISupported)
    HRESULT STDMETHODCALLTYPE DisplayUI(HWND, LPCWSTR, LPCWSTR, void*, ULONG, IUnknown*) override
        KSR_FAKE_UNEXPECTED(DisplayUI)
    HRESULT STDMETHODCALLTYPE MatchesAttributes(LPCWSTR, BOOL*) override KSR_FAKE_UNEXPECTED(MatchesAttributes)

protected:
    bool implements(REFIID riid) const override;

private:
    mutable std::mutex m_mutex;
    std::string m_id;
};

}  // namespace SapiFakes

#endif
