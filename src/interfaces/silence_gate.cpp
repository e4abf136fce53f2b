#include "interfaces/silence_gate.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace {

const int kSampleBytes = 2;

}  // namespace

SilenceGate::SilenceGate(int sampleRate)
    : m_closeAfterSamples(static_cast<long long>(sampleRate) * kQuietToCloseMs / 1000)
    , m_leadInBytes(static_cast<std::size_t>(sampleRate) * kLeadInMs / 1000 * kSampleBytes)
{
    m_leadIn.reserve(m_leadInBytes * 2);
}

void SilenceGate::reset()
{
    m_activity = Vosk::VoiceActivity();
    m_voicedRun = 0;
    m_runStart = 0;
    m_lastSpeech = 0;
    m_taken = 0;
    m_open = true;
    m_leadIn.clear();
}

bool SilenceGate::take(const char* data, int bytes)
{
    m_passed = nullptr;
    m_passedBytes = 0;
    m_justClosed = false;
    m_justOpened = false;
    if (!data || bytes < kSampleBytes)
        return false;
    const bool wasOpen = m_open;
    if (!wasOpen)
        m_leadIn.insert(m_leadIn.end(), data, data + bytes);
    listen(data, bytes);
    m_taken += bytes / kSampleBytes;
    if (wasOpen) {
        m_passed = data;
        m_passedBytes = bytes;
        m_open = m_activity.samplesHeard() - m_lastSpeech < m_closeAfterSamples;
        m_justClosed = !m_open;
        return true;
    }
    if (m_open) {
        // From kLeadInMs before the speech began, or the oldest audio kept.
        const long long held = static_cast<long long>(m_leadIn.size()) / kSampleBytes;
        const long long heldFrom = m_taken - held;
        const long long from = std::max(heldFrom, m_runStart - static_cast<long long>(m_leadInBytes) / kSampleBytes);
        m_opening.assign(m_leadIn.begin() + static_cast<std::ptrdiff_t>((from - heldFrom) * kSampleBytes),
                         m_leadIn.end());
        m_leadIn.clear();
        m_justOpened = true;
        m_passed = m_opening.data();
        m_passedBytes = static_cast<int>(m_opening.size());
        return true;
    }
    // Enough for the lead-in before a voiced run that began up to a run's
    // length before the next chunk.
    const std::size_t keep = m_leadInBytes + kMinVoicedFrames * Vosk::VoiceActivity::kFrameSamples * kSampleBytes;
    if (m_leadIn.size() > keep * 2)
        m_leadIn.erase(m_leadIn.begin(), m_leadIn.end() - static_cast<std::ptrdiff_t>(keep));
    return false;
}

// Frame by frame, so that a run of voiced frames is seen even inside one
// chunk.
void SilenceGate::listen(const char* data, int bytes)
{
    std::int16_t frame[Vosk::VoiceActivity::kFrameSamples];
    const int samples = bytes / kSampleBytes;
    for (int at = 0; at < samples;) {
        const int count = std::min(samples - at, Vosk::VoiceActivity::kFrameSamples);
        std::memcpy(frame, data + at * kSampleBytes, static_cast<std::size_t>(count) * kSampleBytes);
        const long long before = m_activity.samplesHeard();
        m_activity.feed(frame, static_cast<std::size_t>(count));
        at += count;
        if (m_activity.samplesHeard() == before)
            continue;  // the frame is not complete yet
        m_voicedRun = m_activity.samplesSinceVoice() == 0 ? m_voicedRun + 1 : 0;
        if (m_voicedRun == 1)
            m_runStart = m_activity.samplesHeard() - Vosk::VoiceActivity::kFrameSamples;
        if (m_voicedRun >= kMinVoicedFrames) {
            m_lastSpeech = m_activity.samplesHeard();
            m_open = true;
        }
    }
}
