#ifndef KSR_VOSK_LIBRARY_H
#define KSR_VOSK_LIBRARY_H

#include <string>

namespace Vosk {

// Why libvosk cannot be called, or empty when it can.
//
// Where the program links libvosk when it loads (Linux), it is there or the
// program never started, so this is always empty. The Windows DLL of the
// module delay-loads libvosk.dll: a host starts without it and learns from
// the module's log why recognition is unavailable, instead of failing to
// start behind a loader dialog. There the first call loads libvosk.dll the
// way the delay-load helper would (the program's folder first) and keeps it
// loaded for the life of the process, as a load-time import would stay;
// every call after that gives the same answer. Thread-safe.
//
// Nothing may call into libvosk while this is not empty: a delay-loaded
// call to a missing DLL ends the process.
std::string libraryProblem();

}  // namespace Vosk

#endif
