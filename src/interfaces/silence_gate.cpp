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
    m_lastSpeech = 0;
    m_open = true;
    m_leadIn.clear();
}

bool SilenceGate::take(const char* data, int bytes)
{
    m_passed = nullptr;
    m_passedBytes = 0;
    m_justClosed = false;
    if (!data || bytes < kSampleBytes)
        return false;
    const bool wasOpen = m_open;
    if (!wasOpen)
        m_leadIn.insert(m_leadIn.end(), data, data + bytes);
    listen(data, bytes);
    if (wasOpen) {
        m_passed = data;
        m_passedBytes = bytes;
        m_open = m_activity.samplesHeard() - m_lastSpeech < m_closeAfterSamples;
        m_justClosed = !m_open;
        return true;
    }
    if (m_open) {
        // Whole samples from the start of the lead-in.
        const std::size_t keep = std::min(m_leadIn.size(), m_leadInBytes) / kSampleBytes * kSampleBytes;
        m_opening.assign(m_leadIn.end() - static_cast<std::ptrdiff_t>(keep), m_leadIn.end());
        m_leadIn.clear();
        m_passed = m_opening.data();
        m_passedBytes = static_cast<int>(m_opening.size());
        return true;
    }
    if (m_leadIn.size() > m_leadInBytes * 2)
        m_leadIn.erase(m_leadIn.begin(), m_leadIn.end() - static_cast<std::ptrdiff_t>(m_leadInBytes));
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
        if (m_voicedRun >= kMinVoicedFrames) {
            m_lastSpeech = m_activity.samplesHeard();
            m_open = true;
        }
    }
}
