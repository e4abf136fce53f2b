#include "vosk/voice_activity.h"

#include <algorithm>

namespace Vosk {

namespace {

// 9 dB as a ratio of mean squares. Chosen on the shared clips played as a
// microphone delivers them: quiet detected 20 ms (median) after the last loud
// sample, no frame inside a word taken for quiet longer than 220 ms, and
// 1.4 % of the frames of -60 dBFS keep-alive noise taken for voice; with
// steady noise 18 dB below the speech, 0 % false voice and gaps inside words
// of at most 300 ms (12 dB gave 580 ms there).
const double kVoiceRatio = 7.943;

}  // namespace

void VoiceActivity::feed(const std::int16_t* samples, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        const double value = samples[i];
        m_sum += value * value;
        if (++m_inFrame == kFrameSamples) {
            m_heard += kFrameSamples;
            endFrame();
        }
    }
}

void VoiceActivity::endFrame()
{
    const double energy = m_sum / kFrameSamples + 1.0;  // +1: digital silence stays finite
    m_sum = 0.0;
    m_inFrame = 0;
    m_history[static_cast<std::size_t>(m_next)] = energy;
    m_next = (m_next + 1) % kFloorFrames;
    m_frames = std::min(m_frames + 1, kFloorFrames);
    const double floor = *std::min_element(m_history.begin(), m_history.begin() + m_frames);
    if (energy > floor * kVoiceRatio)
        m_lastVoiceEnd = m_heard;
}

}  // namespace Vosk
