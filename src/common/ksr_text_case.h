#ifndef KSR_TEXT_CASE_H
#define KSR_TEXT_CASE_H

#include <string>

// Byte-wise case conversion of ASCII letters; every other byte (UTF-8
// sequences included) is left as it is, so the result is valid UTF-8
// whenever the input is.
namespace KSR {

inline char toLowerAscii(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }
inline char toUpperAscii(char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c; }

inline std::string toLowerAscii(std::string text)
{
    for (char& c : text)
        c = toLowerAscii(c);
    return text;
}

inline std::string toUpperAscii(std::string text)
{
    for (char& c : text)
        c = toUpperAscii(c);
    return text;
}

}  // namespace KSR

#endif
