#ifndef KSR_AUDIO_MODULE_STATE_H
#define KSR_AUDIO_MODULE_STATE_H

// State the audio code shares across all devices, behind the module's one
// mutex: the map from each OpenAL context to the AudioDevice that created it
// (entries are added or overwritten at construction and never removed; a
// device unsets its context before destroying it, so a stale entry is never
// looked up through the current context) and the list of audio log messages
// (kept until unload, never read back).
//
// Beside it, a lock of its own for OpenAL's device enumeration (see
// enumerationMutex).

#include <AL/alc.h>

#include <mutex>
#include <string>

class AudioDevice;

namespace AudioModuleState {

void registerContext(ALCcontext* context, AudioDevice* device);
// The device that created the context, or null.
AudioDevice* deviceForContext(ALCcontext* context);
void keepMessage(std::string message);

// Held around every OpenAL query that reads or rebuilds its process-wide
// device lists (alcGetString of a list or a default device name, the
// alcIsExtensionPresent checks on the same path, and the capture open, whose
// back end looks a name up in the device list that enumeration rebuilds),
// until the answer is copied. OpenAL Soft rebuilds the list in one
// process-wide string at each such call and hands out a pointer to it after
// releasing its own lock, so a query from another thread (the host's
// microphone list while the capture worker checks for its device) may free
// the text still being copied. One lock for the module, not one per
// AudioDevice: the strings are OpenAL's, shared by every device. Nothing is
// logged while it is held.
std::mutex& enumerationMutex();

}  // namespace AudioModuleState

#endif
