#include "vosk_library.h"

#if defined(_WIN32) && defined(KSR_VOSK_DELAY_LOADED)
#include <windows.h>
#endif

namespace Vosk {

#if defined(_WIN32) && defined(KSR_VOSK_DELAY_LOADED)

std::string libraryProblem()
{
    static const std::string problem = [] {
        if (LoadLibraryExW(L"libvosk.dll", nullptr, 0))
            return std::string();
        // 126: libvosk.dll, or a DLL it needs, is not on the search path.
        return "libvosk.dll could not be loaded (Windows error " + std::to_string(GetLastError()) +
               "): put libvosk.dll and the DLLs it needs (libstdc++-6.dll, libgcc_s_seh-1.dll, "
               "libwinpthread-1.dll) next to the program";
    }();
    return problem;
}

#else

std::string libraryProblem() { return std::string(); }

#endif

}  // namespace Vosk
