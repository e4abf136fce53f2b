#ifndef KSR_AUDIO_LOG_H
#define KSR_AUDIO_LOG_H

// The audio code's own log: it does not go through the module logger.
// Formats printf-style into a buffer of 256 bytes (a longer message is cut
// at 255 characters), keeps the line in a module-wide list of audio messages
// until the module is unloaded, and writes it to standard error as is (the
// callers put their own line feeds).
void audioLog(const char* format, ...) __attribute__((format(printf, 1, 2)));

#endif
