#include "interfaces/capture_run.h"

#include <algorithm>

#include "audio/audio_device.h"
#include "audio/audio_log.h"
#include "k_vosk_interface.h"
#include "vosk_engine.h"

namespace {

// The recognizers compute one feature frame per 10 ms of audio.
const int kFramesPerSecond = 100;
const int kOutputSampleBytes = 2;  // mono, signed 16-bit
// A lost microphone is tried again about once a second.
const std::chrono::milliseconds kRetryInterval(1000);

}  // namespace

CaptureRun::CaptureRun(K_VoskInterface& iface, AudioDevice& audio, Vosk::Engine& engine)
    : m_iface(iface)
    , m_audio(audio)
    , m_engine(engine)
    , m_frameBytes(audio.frequency(true) / kFramesPerSecond * kOutputSampleBytes)
    , m_gate(audio.frequency(true))
    , m_microphoneGone(false)
{
    m_pending.reserve(static_cast<std::size_t>(m_frameBytes) * 64);
}

void CaptureRun::run(bool captureOpen, const std::string& startName)
{
    m_deviceName = startName;
    if (!captureOpen && m_iface.listeningPace() > 0)
        microphoneGone();
    while (m_iface.active) {
        const int pace = m_iface.listeningPace();
        if (pace > 0)
            pacedPass(pace);
        else if (m_microphoneGone)
            // Switched to polling while the microphone was gone: polling
            // has nothing to read, so the retry goes on at its own pace
            // instead of turning a core without ever looking for it.
            retryMicrophone();
        else
            pollingPass();
    }
}

// The loop as polling hosts know it: read whatever is there, at once, again.
void CaptureRun::pollingPass()
{
    if (m_audio.isCapturing())
        readAndFeed();
}

void CaptureRun::pacedPass(int paceMs)
{
    if (m_microphoneGone) {
        retryMicrophone();
        return;
    }
    if (!m_audio.isCapturing() || !m_audio.isCaptureConnected()) {
        microphoneGone();
        return;
    }
    const int frameSamples = m_audio.frequency(false) / kFramesPerSecond;
    const int waiting = m_audio.waitingSamples();
    if (waiting < frameSamples) {
        const int hertz = m_audio.frequency(false);
        const int dueMs = std::max(1, ((frameSamples - waiting) * 1000 + hertz - 1) / hertz);
        m_iface.waitWhileActive(std::min(dueMs, paceMs));
        return;
    }
    readAndFeed();
}

void CaptureRun::readAndFeed()
{
    const char* data = m_audio.readSamples();
    const int bytes = static_cast<int>(m_audio.readBytes());
    feed(data, bytes);
}

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
void CaptureRun::feed(const char* data, int bytes)
{
    if (!data || bytes <= 0)
        return;
    m_pending.insert(m_pending.end(), data, data + bytes);
    const int whole = static_cast<int>(m_pending.size()) / m_frameBytes * m_frameBytes;
    if (whole == 0)
        return;
    if (m_iface.silenceSkipping()) {
        if (m_gate.take(m_pending.data(), whole)) {
            // A grammar, rule or mode change made while the recognizers
            // rested applies before they hear the lead-in, which holds the
            // next word's beginning.
            if (m_gate.justOpened())
                m_engine.applyPendingChanges();
            m_engine.processAudio(m_gate.passed(), m_gate.passedBytes());
            m_iface.hypothesisChunkEnded();
        }
        // Three seconds after the last speech every recognizer has normally
        // ended its utterance; ending them all here has them start the next
        // one on the same chunk, so the command recognizer and the dictation
        // recognizer end it together too (a command then comes as a
        // command, not first as dictated words). Speech too soft to hold the
        // gate open may still be in a recognizer: it is delivered, not lost.
        if (m_gate.justClosed())
            m_engine.endUtterance();
    } else {
        if (!m_gate.isOpen())
            m_gate.reset();  // switched off while closed: the next use starts open
        m_engine.processAudio(m_pending.data(), whole);
        m_iface.hypothesisChunkEnded();
    }
    m_pending.erase(m_pending.begin(), m_pending.begin() + whole);
}

// What the recognizers heard so far is dropped: the rest of that utterance
// is lost with the device, and its beginning must not be glued to whatever
// comes after the microphone returns.
void CaptureRun::microphoneGone()
{
    m_engine.processFinalAudio();
    m_pending.clear();
    m_gate.reset();
    if (m_audio.isCapturing())
        m_audio.stopCapture();
    m_microphoneGone = true;
    m_nextRetry = std::chrono::steady_clock::now() + kRetryInterval;
    audioLog("Microphone \"%s\" is not available; listening goes on and tries it again about once a second\n",
             m_deviceName.c_str());
    emit m_iface.microphoneDisconnected(QString::fromUtf8(m_deviceName.c_str()));
}

// Opens the device only once it is listed again: opening an absent one
// would have the audio system write its failure once a second.
void CaptureRun::retryMicrophone()
{
    const auto now = std::chrono::steady_clock::now();
    if (now < m_nextRetry) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(m_nextRetry - now);
        m_iface.waitWhileActive(static_cast<int>(left.count()) + 1);
        return;
    }
    m_nextRetry = now + kRetryInterval;
    if (!microphoneListed() || !m_audio.retryCapture())
        return;
    m_microphoneGone = false;
    m_deviceName = microphoneName();
    audioLog("Microphone \"%s\" is back\n", m_deviceName.c_str());
    emit m_iface.microphoneReconnected(QString::fromUtf8(m_deviceName.c_str()));
    m_iface.listeningBegan();
}

bool CaptureRun::microphoneListed() const
{
    const std::list<std::string> devices = m_audio.availableCaptureDevices();
    const std::string chosen = m_audio.captureDeviceName();
    if (chosen.empty())
        return !devices.empty();
    return std::find(devices.begin(), devices.end(), chosen) != devices.end();
}

std::string CaptureRun::microphoneName() const
{
    const std::string chosen = m_audio.captureDeviceName();
    if (!chosen.empty())
        return chosen;
    const std::string standard = m_audio.defaultCaptureDeviceName();
    return standard.empty() ? m_deviceName : standard;
}
