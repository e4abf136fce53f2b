#ifndef KSR_AUDIO_RESAMPLER_H
#define KSR_AUDIO_RESAMPLER_H

#include <cstdint>

struct SwrContext;

// Converts interleaved capture frames from the microphone's rate, channel
// layout and sample format to what the recognizer needs, with libswresample.
// Set the three pairs, call init() once, then convert() any number of times.
// Every library failure is a false return; nothing is logged here (the
// capture code logs its own line when init() fails).
// Non-copyable: it owns a libswresample context and libavutil allocations.
class AudioResampler {
public:
    AudioResampler();
    ~AudioResampler();
    AudioResampler(const AudioResampler&) = delete;
    AudioResampler& operator=(const AudioResampler&) = delete;

    // Channel layouts are libavutil channel masks (AV_CH_LAYOUT_MONO, ...),
    // sample formats AVSampleFormat values, rates hertz.
    void setChannelLayouts(std::uint64_t in, std::uint64_t out);
    void setSampleFormats(int in, int out);
    void setRates(int in, int out);

    // Sizes the scratch planes for 1024 input samples and configures the
    // context; false if a rate or format is still unset or the library
    // refuses the set-up.
    bool init();

    // Converts inSamples frames from inPlanes into outPlanes, which must hold
    // the estimated output of this call: the resampler's pending delay plus
    // inSamples, scaled to the output rate and rounded up. outSamples receives
    // the frames written.
    bool convert(const std::uint8_t** inPlanes, int inSamples, std::uint8_t** outPlanes,
                 int& outSamples);

    // Capacity of the scratch planes in samples (0 before init()).
    int maxDstSamples() const { return m_maxDstSamples; }
    // The scratch planes; null before init().
    std::uint8_t* const* dstData() const { return mp_dstData; }

private:
    void releaseDstData();

    SwrContext* mp_context;
    // Scratch output planes, sized only: convert() writes into the caller's
    // planes and uses these merely to track the largest estimate seen.
    std::uint8_t** mp_dstData;
    int m_inChannels;
    int m_outChannels;
    int m_maxDstSamples;
    std::uint64_t m_inLayout;
    std::uint64_t m_outLayout;
    int m_inFormat;
    int m_outFormat;
    int m_inRate;
    int m_outRate;
};

#endif
