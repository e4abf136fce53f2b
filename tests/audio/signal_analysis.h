#ifndef KSR_TESTS_AUDIO_SIGNAL_ANALYSIS_H
#define KSR_TESTS_AUDIO_SIGNAL_ANALYSIS_H

// Small signal measurements for the audio tests: sines, a least-squares sine
// fit (amplitude, phase and the SNR of what is left), correlation and the
// delay of a reference inside a longer capture.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace Signal {

constexpr double kPi = 3.14159265358979323846;

inline std::vector<std::int16_t> sine16(int rate, double hertz, double amplitude, int frames, int channels = 1,
                                        double phase = 0.0)
{
    std::vector<std::int16_t> out(static_cast<std::size_t>(frames) * channels);
    for (int i = 0; i < frames; ++i) {
        const double value = amplitude * std::sin(2.0 * kPi * hertz * i / rate + phase);
        for (int c = 0; c < channels; ++c)
            out[static_cast<std::size_t>(i) * channels + c] = static_cast<std::int16_t>(std::lround(value));
    }
    return out;
}

struct SineFit {
    double amplitude = 0.0;  // of the fitted sine, in sample units
    double snrDb = 0.0;      // fitted sine power over residual power
};

// Fits a*sin + b*cos + c at the given frequency over samples[from, to).
inline SineFit fitSine(const std::vector<double>& samples, int rate, double hertz, std::size_t from,
                       std::size_t to)
{
    // Normal equations of the 3x3 least-squares problem.
    double m[3][3] = {};
    double v[3] = {};
    for (std::size_t i = from; i < to; ++i) {
        const double w = 2.0 * kPi * hertz * static_cast<double>(i) / rate;
        const double basis[3] = {std::sin(w), std::cos(w), 1.0};
        for (int r = 0; r < 3; ++r) {
            v[r] += basis[r] * samples[i];
            for (int c = 0; c < 3; ++c)
                m[r][c] += basis[r] * basis[c];
        }
    }
    // Gaussian elimination (the matrix is well conditioned over many periods).
    for (int p = 0; p < 3; ++p)
        for (int r = p + 1; r < 3; ++r) {
            const double f = m[r][p] / m[p][p];
            for (int c = p; c < 3; ++c)
                m[r][c] -= f * m[p][c];
            v[r] -= f * v[p];
        }
    double x[3];
    for (int r = 2; r >= 0; --r) {
        double s = v[r];
        for (int c = r + 1; c < 3; ++c)
            s -= m[r][c] * x[c];
        x[r] = s / m[r][r];
    }
    double signal = 0.0;
    double residual = 0.0;
    for (std::size_t i = from; i < to; ++i) {
        const double w = 2.0 * kPi * hertz * static_cast<double>(i) / rate;
        const double fitted = x[0] * std::sin(w) + x[1] * std::cos(w) + x[2];
        signal += (fitted - x[2]) * (fitted - x[2]);
        residual += (samples[i] - fitted) * (samples[i] - fitted);
    }
    SineFit fit;
    fit.amplitude = std::hypot(x[0], x[1]);
    fit.snrDb = 10.0 * std::log10(signal / std::max(residual, 1e-30));
    return fit;
}

inline std::vector<double> toDouble(const std::vector<std::int16_t>& in)
{
    return std::vector<double>(in.begin(), in.end());
}

inline double rms(const std::vector<double>& x, std::size_t from, std::size_t to)
{
    double sum = 0.0;
    for (std::size_t i = from; i < to; ++i)
        sum += x[i] * x[i];
    return to > from ? std::sqrt(sum / static_cast<double>(to - from)) : 0.0;
}

// Pearson correlation of a[offset + i] and b[i] for i in [from, to).
inline double correlation(const std::vector<double>& a, long offset, const std::vector<double>& b,
                          std::size_t from, std::size_t to)
{
    double sa = 0, sb = 0, saa = 0, sbb = 0, sab = 0;
    std::size_t n = 0;
    for (std::size_t i = from; i < to; ++i) {
        const long j = offset + static_cast<long>(i);
        if (j < 0 || j >= static_cast<long>(a.size()))
            continue;
        const double x = a[static_cast<std::size_t>(j)];
        const double y = b[i];
        sa += x;
        sb += y;
        saa += x * x;
        sbb += y * y;
        sab += x * y;
        ++n;
    }
    if (n == 0)
        return 0.0;
    const double cov = sab - sa * sb / n;
    const double va = saa - sa * sa / n;
    const double vb = sbb - sb * sb / n;
    return cov / std::sqrt(std::max(va * vb, 1e-30));
}

inline double dot(const std::vector<double>& a, long offset, const std::vector<double>& b, std::size_t from,
                  std::size_t to)
{
    double sum = 0.0;
    for (std::size_t i = from; i < to; ++i) {
        const long j = offset + static_cast<long>(i);
        if (j >= 0 && j < static_cast<long>(a.size()))
            sum += a[static_cast<std::size_t>(j)] * b[i];
    }
    return sum;
}

// Offset of `reference` inside `stream` that maximises their correlation:
// a search on 8-fold averaged signals, refined at full rate.
inline long findOffset(const std::vector<double>& stream, const std::vector<double>& reference)
{
    const int factor = 8;
    auto decimate = [&](const std::vector<double>& x) {
        std::vector<double> out(x.size() / factor);
        for (std::size_t i = 0; i < out.size(); ++i) {
            double s = 0.0;
            for (int k = 0; k < factor; ++k)
                s += x[i * factor + k];
            out[i] = s / factor;
        }
        return out;
    };
    const std::vector<double> coarseStream = decimate(stream);
    const std::vector<double> coarseReference = decimate(reference);
    long best = 0;
    double bestScore = -2.0;
    const long last = static_cast<long>(coarseStream.size()) - static_cast<long>(coarseReference.size());
    for (long offset = 0; offset <= last; ++offset) {
        const double score = correlation(coarseStream, offset, coarseReference, 0, coarseReference.size());
        if (score > bestScore) {
            bestScore = score;
            best = offset;
        }
    }
    long fine = best * factor;
    bestScore = -2.0;
    for (long offset = best * factor - 2 * factor; offset <= best * factor + 2 * factor; ++offset) {
        const double score = correlation(stream, offset, reference, 0, reference.size());
        if (score > bestScore) {
            bestScore = score;
            fine = offset;
        }
    }
    return fine;
}

// Sub-sample offset of reference[from, to) in stream near `around`: the peak
// of the cross-correlation, refined by a parabola through its neighbours.
inline double fractionalOffset(const std::vector<double>& stream, const std::vector<double>& reference,
                               long around, std::size_t from, std::size_t to)
{
    long best = around;
    double bestScore = -1e300;
    for (long offset = around - 3; offset <= around + 3; ++offset) {
        const double score = dot(stream, offset, reference, from, to);
        if (score > bestScore) {
            bestScore = score;
            best = offset;
        }
    }
    const double left = dot(stream, best - 1, reference, from, to);
    const double right = dot(stream, best + 1, reference, from, to);
    const double curvature = left - 2.0 * bestScore + right;
    const double shift = curvature != 0.0 ? 0.5 * (left - right) / curvature : 0.0;
    return static_cast<double>(best) + shift;
}

// x delayed by `delay` samples (|delay| <= 1), through a Hann-windowed sinc
// of 65 taps; used to line a reference up with a capture to a fraction of a
// sample before comparing them.
inline std::vector<double> delayed(const std::vector<double>& x, double delay)
{
    const int half = 32;
    std::vector<double> taps(2 * half + 1);
    for (int k = -half; k <= half; ++k) {
        const double t = k - delay;
        const double sinc = std::fabs(t) < 1e-12 ? 1.0 : std::sin(kPi * t) / (kPi * t);
        const double window = 0.5 + 0.5 * std::cos(kPi * t / (half + 1));
        taps[static_cast<std::size_t>(k + half)] = sinc * window;
    }
    std::vector<double> out(x.size(), 0.0);
    for (std::size_t i = 0; i < x.size(); ++i) {
        double sum = 0.0;
        for (int k = -half; k <= half; ++k) {
            const long j = static_cast<long>(i) - k;
            if (j >= 0 && j < static_cast<long>(x.size()))
                sum += taps[static_cast<std::size_t>(k + half)] * x[static_cast<std::size_t>(j)];
        }
        out[i] = sum;
    }
    return out;
}

}  // namespace Signal

#endif
