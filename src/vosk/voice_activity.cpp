#include "vosk/voice_activity.h"

#include <algorithm>
#include <cmath>

namespace Vosk {

namespace {

// 9 dB as a ratio of mean squares. Chosen on the shared clips played as a
// microphone delivers them: quiet detected 20 ms (median) after the last loud
// sample, no frame inside a word taken for quiet longer than 220 ms, and
// 1.4 % of the frames of -60 dBFS keep-alive noise taken for voice; with
// steady noise 18 dB below the speech, 0 % false voice and gaps inside words
// of at most 300 ms (12 dB gave 580 ms there).
const double kVoiceRatio = 7.943;
// 20 dB below the speaker's loudest frame, as a ratio of mean squares.
// Chosen with ksr-bench-early-end on clips under babble 15 dB below the
// speaker, and on a phrase followed at once by another word: 15 dB let more
// commands through the babble (5 of 30 against 2) but took the breathy
// "h" of "open file house" for quiet and gave "open file"; 20 dB keeps a
// speaker's weak consonants voiced.
const double kBelowSpeakerRatio = 0.01;
// 10 dB below the loudest frame of the last three seconds, as a ratio of
// mean squares: the speaker's vowels. Measured on ksr-bench-early-end's
// babble, four talkers 15 dB below the speaker's average: their loudest
// frames came 13 to 15 dB below the speaker's loudest.
const double kLoudRatio = 0.1;
// Talk swings by this much within 300 ms (its syllables and pauses; four
// talkers at once by 10 dB between the quietest and loudest tenth of the
// frames); steady noise, even high-passed brown noise, by at most 4 dB.
const double kTalkSwing = 3.98;  // 6 dB
// A frame of the speaker stands this much above the loudest tenth of the
// talk before them (3 dB).
const double kAboveTalk = 2.0;
// The energy is measured above 150 Hz: a second-order Butterworth high-pass
// (the biquad of R. Bristow-Johnson's cookbook). Below that there is hardly
// speech but most of the power of brown and pink noise (fans, traffic,
// hum), whose slow swings made the energy of a 10 ms frame jump by many dB,
// so that the quiet after speech was never seen under them. A pre-emphasis
// filter (x[n] - 0.97 x[n-1]) instead cut phrases under white and pink
// noise: it took weak final consonants for quiet.
struct HighPassCoefficients {
    double b0, b1, b2, a1, a2;
    explicit HighPassCoefficients(double corner)
    {
        const double w = 2.0 * 3.14159265358979323846 * corner / 16000.0;
        const double alpha = std::sin(w) / (2.0 * 0.7071067811865476);
        const double a0 = 1.0 + alpha;
        b0 = (1.0 + std::cos(w)) / 2.0 / a0;
        b1 = -(1.0 + std::cos(w)) / a0;
        b2 = b0;
        a1 = -2.0 * std::cos(w) / a0;
        a2 = (1.0 - alpha) / a0;
    }
};
const HighPassCoefficients kHighPass(150.0);

}  // namespace

void VoiceActivity::feed(const std::int16_t* samples, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        const double value = m_rule == Rule::TheSpeaker ? highPass(samples[i]) : samples[i];
        m_sum += value * value;
        if (++m_inFrame == kFrameSamples) {
            m_heard += kFrameSamples;
            endFrame();
        }
    }
}

double VoiceActivity::highPass(double in)
{
    const double out = kHighPass.b0 * in + kHighPass.b1 * m_in1 + kHighPass.b2 * m_in2 - kHighPass.a1 * m_out1 -
                       kHighPass.a2 * m_out2;
    m_in2 = m_in1;
    m_in1 = in;
    m_out2 = m_out1;
    m_out1 = out;
    return out;
}

void VoiceActivity::endFrame()
{
    const double energy = m_sum / kFrameSamples + 1.0;  // +1: digital silence stays finite
    m_sum = 0.0;
    m_inFrame = 0;
    m_history[static_cast<std::size_t>(m_next)] = energy;
    m_next = (m_next + 1) % kSpeakerFrames;
    m_frames = std::min(m_frames + 1, kSpeakerFrames);
    double floor = energy;
    double speaker = energy;
    // The speaker's level looks a second back; the floor alone, 600 ms.
    const int frames = m_rule == Rule::TheSpeaker ? m_frames : std::min(m_frames, kFloorFrames);
    for (int back = 0; back < frames; ++back) {
        const double past = m_history[static_cast<std::size_t>((m_next - 1 - back + kSpeakerFrames) % kSpeakerFrames)];
        if (back < kFloorFrames)
            floor = std::min(floor, past);
        speaker = std::max(speaker, past);
    }
    const bool voiced = energy > floor * kVoiceRatio;
    if (voiced && (m_rule == Rule::AnySound || energy > speaker * kBelowSpeakerRatio))
        m_lastVoiceEnd = m_heard;
    if (m_rule == Rule::TheSpeaker)
        followLoudness(energy, voiced);
}

double VoiceActivity::loudest() const
{
    double loudest = m_blockPeak;
    for (const double peak : m_blockPeaks)
        loudest = std::max(loudest, peak);
    return loudest;
}

void VoiceActivity::followLoudness(double energy, bool voiced)
{
    m_recent[static_cast<std::size_t>(m_nextRecent)] = {energy, voiced};
    m_nextRecent = (m_nextRecent + 1) % kRecentFrames;
    m_recentFrames = std::min(m_recentFrames + 1, kRecentFrames);
    m_blockPeak = std::max(m_blockPeak, energy);
    if (voiced && energy > loudest() * kLoudRatio)
        m_lastLoudEnd = m_heard;
    if (++m_blockFrames == kBlockFrames) {
        m_blockPeaks[static_cast<std::size_t>(m_nextBlock)] = m_blockPeak;
        m_nextBlock = (m_nextBlock + 1) % kLoudBlocks;
        m_blockPeak = 0.0;
        m_blockFrames = 0;
    }
}

VoiceActivity::AmidTalk VoiceActivity::speakerAmidTalk() const
{
    // Frame `back` frames before the newest.
    const auto recent = [this](int back) -> const Frame& {
        return m_recent[static_cast<std::size_t>((m_nextRecent - 1 - back + kRecentFrames) % kRecentFrames)];
    };
    const double loud = loudest() * kLoudRatio;
    const auto isLoud = [&](int back) { return recent(back).voiced && recent(back).energy > loud; };
    int onset = -1;  // frames back
    int sinceLoud = 0;
    for (int back = 0; back < m_recentFrames && sinceLoud < kRunGap; ++back) {
        if (isLoud(back)) {
            onset = back;
            sinceLoud = 0;
        } else if (onset >= 0) {
            ++sinceLoud;
        }
    }
    if (onset < 0 || sinceLoud < kRunGap || onset + kBeforeGap + kBeforeFrames > m_recentFrames)
        return {};
    std::array<double, kBeforeFrames> before{};
    int voiced = 0;
    for (int i = 0; i < kBeforeFrames; ++i) {
        const Frame& frame = recent(onset + kBeforeGap + i);
        before[static_cast<std::size_t>(i)] = frame.energy;
        voiced += frame.voiced ? 1 : 0;
    }
    std::sort(before.begin(), before.end());
    const double low = before[kBeforeFrames / 10];
    const double high = before[kBeforeFrames - 1 - kBeforeFrames / 10];
    if (2 * voiced <= kBeforeFrames || high < low * kTalkSwing)
        return {};
    AmidTalk talk;
    talk.onset = m_heard - static_cast<long long>(onset + 1) * kFrameSamples;
    for (int back = 0; back <= onset; ++back)
        if (recent(back).energy > high * kAboveTalk || isLoud(back)) {
            talk.end = m_heard - static_cast<long long>(back) * kFrameSamples;
            break;
        }
    return talk;
}

}  // namespace Vosk
