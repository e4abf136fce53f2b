#include "model_path.h"

#ifdef _WIN32
#include <windows.h>

#include <vector>
#endif

namespace Vosk {

#ifdef _WIN32
namespace {

std::wstring wide(const std::string& utf8)
{
    const int units = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, utf8.data(), static_cast<int>(utf8.size()),
                                          nullptr, 0);
    if (units <= 0)
        return std::wstring();
    std::wstring out(static_cast<std::size_t>(units), L'\0');
    MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, utf8.data(), static_cast<int>(utf8.size()), &out[0], units);
    return out;
}

// The path in the ANSI code page, or empty when a character has no place in
// it (Windows would put a '?' there).
std::string ansi(const std::wstring& path)
{
    BOOL lossy = FALSE;
    const int bytes = WideCharToMultiByte(CP_ACP, 0, path.data(), static_cast<int>(path.size()), nullptr, 0, nullptr,
                                          &lossy);
    if (bytes <= 0 || lossy)
        return std::string();
    std::string out(static_cast<std::size_t>(bytes), '\0');
    WideCharToMultiByte(CP_ACP, 0, path.data(), static_cast<int>(path.size()), &out[0], bytes, nullptr, &lossy);
    return lossy ? std::string() : out;
}

}  // namespace

std::string libraryModelPath(const std::string& utf8Path)
{
    if (utf8Path.empty())
        return utf8Path;
    const std::wstring path = wide(utf8Path);
    if (path.empty())
        return utf8Path;  // not UTF-8: taken to be in the code page already
    std::string inCodePage = ansi(path);
    if (!inCodePage.empty())
        return inCodePage;
    const DWORD length = GetShortPathNameW(path.c_str(), nullptr, 0);
    if (length == 0)
        return std::string();
    std::vector<wchar_t> shortPath(length);
    if (GetShortPathNameW(path.c_str(), shortPath.data(), length) == 0)
        return std::string();
    return ansi(std::wstring(shortPath.data()));
}
#else
std::string libraryModelPath(const std::string& utf8Path)
{
    return utf8Path;
}
#endif

}  // namespace Vosk
