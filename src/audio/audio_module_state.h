#ifndef KSR_AUDIO_MODULE_STATE_H
#define KSR_AUDIO_MODULE_STATE_H

// State the audio code shares across all devices, behind the module's one
// mutex: the map from each OpenAL context to the AudioDevice that created it
// (entries are added or overwritten at construction and never removed; a
// device unsets its context before destroying it, so a stale entry is never
// looked up through the current context) and the list of audio log messages
// (kept until unload, never read back).

#include <AL/alc.h>

#include <string>

class AudioDevice;

namespace AudioModuleState {

void registerContext(ALCcontext* context, AudioDevice* device);
// The device that created the context, or null.
AudioDevice* deviceForContext(ALCcontext* context);
void keepMessage(std::string message);

}  // namespace AudioModuleState

#endif
