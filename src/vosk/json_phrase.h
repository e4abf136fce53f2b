#ifndef KSR_VOSK_JSON_PHRASE_H
#define KSR_VOSK_JSON_PHRASE_H

#include <string>

namespace Vosk {

// Appends `phrase` to `out` as one JSON string: in double quotes, with the
// double quote, the backslash and the control characters (below 0x20)
// escaped. Every other byte, UTF-8 sequences included, is copied unchanged,
// so an ordinary phrase comes out as "phrase". The library refuses a grammar
// that is not valid JSON (and crashes on it), so a host phrase must never be
// able to break the list.
void appendJsonString(std::string& out, const std::string& phrase);

}  // namespace Vosk

#endif
