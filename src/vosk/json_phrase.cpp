#include "vosk/json_phrase.h"

#include <algorithm>

namespace Vosk {

namespace {

bool needsEscape(char c) { return c == '"' || c == '\\' || static_cast<unsigned char>(c) < 0x20; }

}  // namespace

void appendJsonString(std::string& out, const std::string& phrase)
{
    static const char hexDigits[] = "0123456789abcdef";
    out += '"';
    // Ordinary phrases (nearly all) are copied in one go.
    if (std::find_if(phrase.begin(), phrase.end(), needsEscape) == phrase.end()) {
        out += phrase;
        out += '"';
        return;
    }
    for (const char c : phrase) {
        const unsigned char byte = static_cast<unsigned char>(c);
        switch (c) {
        case '"': out += "\\\""; break;
        case '\\': out += "\\\\"; break;
        case '\b': out += "\\b"; break;
        case '\f': out += "\\f"; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        case '\t': out += "\\t"; break;
        default:
            if (byte < 0x20) {
                out += "\\u00";
                out += hexDigits[byte >> 4];
                out += hexDigits[byte & 0x0f];
            } else {
                out += c;
            }
        }
    }
    out += '"';
}

}  // namespace Vosk
