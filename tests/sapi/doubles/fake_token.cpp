#include "fake_token.h"

#include <utility>

#include "fake_registry.h"

namespace SapiFakes {

FakeTokenCategory::FakeTokenCategory(std::string defaultTokenId)
    : m_defaultTokenId(std::move(defaultTokenId))
{
    Registry<FakeTokenCategory>::add(this);
}

FakeTokenCategory::~FakeTokenCategory()
{
    Registry<FakeTokenCategory>::remove(this);
    CallLog::add("TokenCategory destroyed");
}

bool FakeTokenCategory::implements(REFIID riid) const
{
    return IsEqualIID(riid, IID_ISpObjectTokenCategory) || IsEqualIID(riid, IID_ISpDataKey);
}

std::string FakeTokenCategory::id() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_id;
}

HRESULT FakeTokenCategory::SetId(LPCWSTR pszCategoryId, BOOL fCreateIfNotExist)
{
    CallLog::add("TokenCategory.SetId(" + narrow(pszCategoryId) + ", " + std::to_string(fCreateIfNotExist) + ")");
    const HRESULT result = Script::next(logName(), "SetId");
    if (FAILED(result))
        return result;
    std::lock_guard<std::mutex> lock(m_mutex);
    m_id = narrow(pszCategoryId);
    return S_OK;
}

HRESULT FakeTokenCategory::GetDefaultTokenId(LPWSTR* ppszCoMemTokenId)
{
    CallLog::add("TokenCategory.GetDefaultTokenId");
    const HRESULT result = Script::next(logName(), "GetDefaultTokenId");
    if (!ppszCoMemTokenId)
        return E_POINTER;
    *ppszCoMemTokenId = nullptr;
    if (FAILED(result))
        return result;
    *ppszCoMemTokenId = coTaskMemText(m_defaultTokenId);
    return S_OK;
}

FakeToken::FakeToken()
{
    Registry<FakeToken>::add(this);
}

FakeToken::~FakeToken()
{
    Registry<FakeToken>::remove(this);
    CallLog::add("Token destroyed");
}

bool FakeToken::implements(REFIID riid) const
{
    return IsEqualIID(riid, IID_ISpObjectToken) || IsEqualIID(riid, IID_ISpDataKey);
}

HRESULT FakeToken::SetId(LPCWSTR pszCategoryId, LPCWSTR pszTokenId, BOOL fCreateIfNotExist)
{
    CallLog::add("Token.SetId(" + narrow(pszCategoryId) + ", " + narrow(pszTokenId) + ", " +
                 std::to_string(fCreateIfNotExist) + ")");
    const HRESULT result = Script::next(logName(), "SetId");
    if (FAILED(result))
        return result;
    std::lock_guard<std::mutex> lock(m_mutex);
    m_id = narrow(pszTokenId);
    return S_OK;
}

HRESULT FakeToken::GetId(LPWSTR* ppszCoMemTokenId)
{
    if (!ppszCoMemTokenId)
        return E_POINTER;
    std::lock_guard<std::mutex> lock(m_mutex);
    *ppszCoMemTokenId = coTaskMemText(m_id);
    return S_OK;
}

}  // namespace SapiFakes
