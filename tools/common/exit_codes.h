#ifndef KSR_TOOLS_EXIT_CODES_H
#define KSR_TOOLS_EXIT_CODES_H

// What the exit status of the host programs (ksr-demo, ksr-desktop) says.
namespace HostExit {

enum Code {
    Ok = 0,            // ran to the end
    Usage = 2,         // bad command line
    Model = 3,         // no usable acoustic model
    Grammar = 4,       // grammar file unreadable, not valid or not accepted by the model
    AudioFile = 5,     // an audio file could not be read
    Microphone = 6,    // no such microphone, or capture could not start
    Picture = 7,       // the window's picture could not be written (ksr-desktop --screenshot)
};

}  // namespace HostExit

#endif
