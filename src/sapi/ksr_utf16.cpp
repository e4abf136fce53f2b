#include "sapi/ksr_utf16.h"

namespace KSR {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool isContinuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }

// Decodes one code point at text[pos] and advances pos past it (or past the
// single offending byte).
char32_t decode(const std::string& text, std::size_t& pos)
{
    const auto lead = static_cast<unsigned char>(text[pos]);
    std::size_t length = 0;
    char32_t value = 0;
    char32_t minimum = 0;
    if (lead < 0x80) {
        ++pos;
        return lead;
    } else if ((lead & 0xE0) == 0xC0) {
        length = 2;
        value = lead & 0x1F;
        minimum = 0x80;
    } else if ((lead & 0xF0) == 0xE0) {
        length = 3;
        value = lead & 0x0F;
        minimum = 0x800;
    } else if ((lead & 0xF8) == 0xF0) {
        length = 4;
        value = lead & 0x07;
        minimum = 0x10000;
    } else {
        ++pos;
        return kReplacement;
    }
    if (pos + length > text.size()) {
        ++pos;
        return kReplacement;
    }
    for (std::size_t i = 1; i < length; ++i) {
        const auto byte = static_cast<unsigned char>(text[pos + i]);
        if (!isContinuation(byte)) {
            ++pos;
            return kReplacement;
        }
        value = (value << 6) | (byte & 0x3F);
    }
    if (value < minimum || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) {
        ++pos;
        return kReplacement;
    }
    pos += length;
    return value;
}

}  // namespace

WideString utf8ToUtf16(const std::string& text)
{
    WideString wide;
    wide.reserve(text.size());
    std::size_t pos = 0;
    while (pos < text.size()) {
        const char32_t value = decode(text, pos);
        if (value < 0x10000) {
            wide.push_back(static_cast<WCHAR>(value));
        } else {
            const char32_t offset = value - 0x10000;
            wide.push_back(static_cast<WCHAR>(0xD800 + (offset >> 10)));
            wide.push_back(static_cast<WCHAR>(0xDC00 + (offset & 0x3FF)));
        }
    }
    return wide;
}

std::string lowBytes(const WCHAR* text)
{
    std::string narrow;
    if (!text)
        return narrow;
    for (const WCHAR* unit = text; *unit; ++unit)
        narrow.push_back(static_cast<char>(static_cast<unsigned>(*unit) & 0xFF));
    return narrow;
}

}  // namespace KSR
