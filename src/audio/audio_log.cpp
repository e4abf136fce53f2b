#include "audio/audio_log.h"

#include <cstdarg>
#include <cstdio>
#include <string>

#include "audio/audio_module_state.h"

void audioLog(const char* format, ...)
{
    char message[256];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(message, sizeof message, format, arguments);
    va_end(arguments);
    AudioModuleState::keepMessage(std::string(message));
    std::fprintf(stderr, "%s", message);
}
