#include "vosk/json_phrase.h"

namespace Vosk {

void appendJsonString(std::string& out, const std::string& phrase)
{
    static const char hexDigits[] = "0123456789abcdef";
    out += '"';
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
