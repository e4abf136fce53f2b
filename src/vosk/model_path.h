#ifndef KSR_VOSK_MODEL_PATH_H
#define KSR_VOSK_MODEL_PATH_H

#include <string>

namespace Vosk {

// The form of a model folder's path (UTF-8, as hosts hold it) that libvosk
// can open. libvosk opens its files through narrow paths, which Windows reads
// in the system's ANSI code page, so a folder such as
// "C:\Users\Zoë\My Models" is handed over in that code page, or, when a
// character has no place in it, by its short (8.3) name. Empty when neither
// exists (short names switched off on the volume). Elsewhere the path is
// passed unchanged.
std::string libraryModelPath(const std::string& utf8Path);

}  // namespace Vosk

#endif
