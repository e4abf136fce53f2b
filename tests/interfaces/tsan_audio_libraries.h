#ifndef KSR_TESTS_TSAN_AUDIO_LIBRARIES_H
#define KSR_TESTS_TSAN_AUDIO_LIBRARIES_H

// Include in one source file of a test program whose worker captures from
// a real audio server. OpenAL and PulseAudio are not instrumented: their own
// threads share buffers under their own locks and lock-free queues, which
// ThreadSanitizer sees only where they call intercepted functions (recvmsg,
// memcpy) and so reports as races. Reports from inside those libraries are
// left out; races between the module's own threads are still reported.
extern "C" const char* __tsan_default_suppressions()
{
    return "called_from_lib:libopenal.so*\n"
           "called_from_lib:libpulse.so*\n"
           "called_from_lib:libpulsecommon-*.so\n"
           "called_from_lib:libasound.so*\n"
           "called_from_lib:libasound_module_pcm_pulse.so\n";
}

#endif
