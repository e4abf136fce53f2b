// K_VoskInterface: the capture loop of the worker thread and its end.
#include "k_vosk_interface.h"

#include <vector>

#include "audio/audio_device.h"
#include "vosk_engine.h"

namespace {

// The recognizers compute one feature frame per 10 ms of audio.
const int kFramesPerSecond = 100;
const int kOutputSampleBytes = 2;  // mono, signed 16-bit

// Audio read from the microphone, handed to the engine in whole 10 ms
// frames. The command recognizer is rebuilt after every delivered command
// while the dictation recognizer runs on, and a recognizer starts at the
// chunk it is built on. Whole-frame chunks keep every recognizer on the same
// 10 ms grid, so the command and the dictation recognizer find the end of an
// utterance in the same chunk and a spoken command is taken as a command (the
// engine then flushes it from dictation) rather than dictated first. Odd-sized
// reads, as the capture device delivers them, would let the dictation
// recognizer finish a few samples earlier and write the command's words as
// text. The remainder of a read waits for the next one: at most 10 ms.
class FrameChunker {
public:
    explicit FrameChunker(int outputHertz)
        : m_frameBytes(outputHertz / kFramesPerSecond * kOutputSampleBytes)
    {
        m_pending.reserve(static_cast<std::size_t>(m_frameBytes) * 64);
    }

    // Adds a read (a null or empty one adds nothing) and passes every whole
    // frame gathered so far to `engine`.
    void feed(Vosk::Engine& engine, const char* data, int bytes)
    {
        if (!data || bytes <= 0)
            return;
        m_pending.insert(m_pending.end(), data, data + bytes);
        const int whole = static_cast<int>(m_pending.size()) / m_frameBytes * m_frameBytes;
        if (whole == 0)
            return;
        engine.processAudio(m_pending.data(), whole);
        m_pending.erase(m_pending.begin(), m_pending.begin() + whole);
    }

private:
    const int m_frameBytes;
    std::vector<char> m_pending;
};

}  // namespace

// Runs in the worker thread when it starts. The loop polls the capture
// device as fast as it can, without sleeping: audio reaches the engine as
// soon as the device has a frame of it. If capture could not start it spins
// without work until stopped, keeping `active` meaningful for the host.
void K_VoskInterface::speechRecognitionStarted()
{
    Vosk::Engine* voskEngine = engine();
    if (!voskEngine || !audio || !isInitialized()) {
        m_startSettled = true;
        return;
    }

    if (const std::shared_ptr<KSR_VoskGrammar> keys = activationKeysGrammar())
        keys->setActivated(true);
    if (!beginLoop()) {  // stopped while the thread was starting
        m_startSettled = true;
        return;
    }
    startRecognizing();
    audio->startCapture();
    m_startSettled = true;

    FrameChunker chunker(audio->frequency(true));
    while (active) {
        if (audio->isCapturing()) {
            const char* data = audio->readSamples();
            const int bytes = static_cast<int>(audio->readBytes());
            chunker.feed(*voskEngine, data, bytes);
        }
    }
    voskEngine->processFinalAudio();
}

// The thread's finished(), in the worker thread. Capture is stopped even if
// it never opened (OpenAL then reports the null device).
void K_VoskInterface::speechRecognitionEnded()
{
    if (const std::shared_ptr<KSR_VoskGrammar> keys = activationKeysGrammar())
        keys->setActivated(false);
    active = false;
    audio->stopCapture();
    if (isInitialized())
        stopRecognizing();
    m_startSettled = false;
}
