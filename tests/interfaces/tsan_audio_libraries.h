#ifndef KSR_TESTS_TSAN_AUDIO_LIBRARIES_H
#define KSR_TESTS_TSAN_AUDIO_LIBRARIES_H

// Include in one source file of a test program whose worker captures from
// a real audio server. PulseAudio's client libraries are not instrumented:
// their own threads hand packets, tag structures and socket buffers to each
// other through lock-free queues and reference counts, which
// ThreadSanitizer sees only where the libraries call intercepted functions
// (recvmsg, memcpy), and so reports as races between those calls. The
// reports named here are those with a PulseAudio client frame on either
// side: they are about PulseAudio's own memory (the module never touches
// it; OpenAL copies out of it with calls of its own).
//
// They are race suppressions, not ignored libraries: PulseAudio's mutexes
// and condition variables stay visible, and OpenAL Soft hands what its
// PulseAudio callbacks gather (device names, stream state) to the calling
// thread under them. Ignoring the libraries would hide that hand-over and
// turn it into false reports on OpenAL's memory.
//
// Nothing here names OpenAL itself: a race through the module's own OpenAL
// calls (two threads of the module asking for the device lists at once,
// say) is reported. ALSA (and its PulseAudio plug-in), which these programs
// do not use (they set ALSOFT_DRIVERS=pulse), stays out of the reports
// should OpenAL ever fall back to it.
extern "C" const char* __tsan_default_suppressions()
{
    return "race:libpulse.so.0\n"
           "race:libpulsecommon-*.so\n"
           "called_from_lib:libasound.so*\n"
           "called_from_lib:libasound_module_pcm_pulse.so\n";
}

#endif
