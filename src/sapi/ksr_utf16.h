#ifndef KSR_SAPI_KSR_UTF16_H
#define KSR_SAPI_KSR_UTF16_H

#include <string>

#include "ksr_sapi_com.h"

namespace KSR {

// UTF-8 to UTF-16 for text handed to SAPI (rule names, command words,
// property values). A byte that does not start a valid UTF-8 sequence, a
// truncated or overlong sequence, an encoded surrogate or a value above
// U+10FFFF becomes one U+FFFD, and the conversion carries on with the next
// byte, so any host string converts.
WideString utf8ToUtf16(const std::string& text);

// SAPI's text back to a byte string the way the recognizer's results are
// reported: the low byte of each UTF-16 code unit, no code-page conversion.
// A null pointer gives an empty string.
std::string lowBytes(const WCHAR* text);

}  // namespace KSR

#endif
