#ifndef KSR_AUDIO_DEVICE_H
#define KSR_AUDIO_DEVICE_H

#include <atomic>
#include <AL/alc.h>

#include <cstdint>
#include <list>
#include <memory>
#include <string>

class AudioResampler;

// Everything the module does with OpenAL: at construction it opens the
// default output device and a context and sets the listener up; it lists the
// capture devices, opens and starts one by name, format and rate, drains what
// the device gathered and, with resampling on, converts it to the rate the
// recognizer needs (AudioResampler).
//
// Rates are stored as rate indices (audio_formats.h): only 16000, 44100 and
// 48000 Hz exist here, and any other rate given is kept as 44100 Hz.
// Formats are OpenAL format codes; both default to AL_FORMAT_MONO16.
//
// Failures never throw: each writes one line through audioLog (standard
// error) and returns false, null or an empty list. A construction that found
// no output device leaves a usable object whose capture simply fails later.
//
// Threads: capture (start, read, stop) runs on one thread at a time; names
// and rates are changed only while capture is stopped. The module-wide map
// from OpenAL contexts to devices is shared state, under the module's mutex.
// The device lists and the default device's name may be asked for from any
// thread at any time, also while another thread captures or asks the same:
// a host lists the microphones while its capture worker looks its device up.
// OpenAL answers them from one process-wide buffer that it rebuilds (and
// frees) at every such query and that the caller reads outside OpenAL's own
// lock, so every query that reads or rebuilds it (availableCaptureDevices,
// defaultCaptureDeviceName, and the capture open, whose back end looks the
// name up in the list that enumeration rebuilds) takes the module's
// enumeration lock, AudioModuleState::enumerationMutex(), one for all
// devices, and copies the answer into std::string before releasing it.
//
// Playback sources are not kept: nothing in the module plays sound, so the
// device owns no sources and its teardown has none to release.
//
// Non-copyable: it owns OpenAL handles and its buffers.
class AudioDevice {
public:
    AudioDevice();
    ~AudioDevice();
    AudioDevice(const AudioDevice&) = delete;
    AudioDevice& operator=(const AudioDevice&) = delete;

    // Names of the capture devices, in the order OpenAL gives them.
    std::list<std::string> availableCaptureDevices() const;
    // The system's default capture device ("" when there is none).
    std::string defaultCaptureDeviceName() const;
    std::string captureDeviceName() const;
    // The same name returns true at once (a running capture goes on);
    // otherwise an open capture device is stopped and closed first (false,
    // name unchanged, if that fails). An empty name means the system default.
    bool setCaptureDeviceName(const std::string& name);

    // Hertz of the output rate (after resampling) or of the capture rate.
    int frequency(bool output) const;
    void setFrequency(bool output, int hertz);
    // stereo 0 stores AL_FORMAT_MONO16, 1 AL_FORMAT_STEREO16; other values
    // return false.
    bool setChannels(bool output, int stereo);
    void setResampling(bool resampling);

    // How much audio the capture device keeps between two reads; what
    // arrives while it is full is lost. Half a second by default; a host
    // whose listening thread can be held up longer (a final result, a
    // grammar rebuild, a busy machine) asks for RecommendedCaptureBufferMs.
    // Takes effect when capture next opens; refuses values below 100 ms.
    static constexpr int DefaultCaptureBufferMs = 500;
    static constexpr int RecommendedCaptureBufferMs = 4000;
    bool setCaptureBufferMilliseconds(int milliseconds);
    int captureBufferMilliseconds() const;

    bool isCapturing() const;
    bool startCapture();
    // startCapture for a retry: a device that cannot be opened (yet) is not
    // logged, so that a retry once a second does not fill the log.
    bool retryCapture();
    bool stopCapture();
    // False once the open capture device was lost (its audio server went
    // away, or the source was removed), as OpenAL reports it through
    // ALC_EXT_disconnect; a device without that extension counts as
    // connected. False when no capture device is open.
    bool isCaptureConnected() const;
    // Sample frames the capture device holds, at the capture rate (0 when
    // none is open).
    int waitingSamples() const;
    // Drains every waiting sample frame and returns the buffer that holds
    // them (resampled when resampling is on), valid until the next read or
    // stop. Null when nothing was waiting; readBytes() then still reports
    // the previous read.
    const char* readSamples();
    // Bytes returned by the last successful read (frames × output frame width).
    std::uint32_t readBytes() const;

    // Makes device's context the current one (false if it already was);
    // null unsets the current context.
    bool makeCurrent(AudioDevice* device);
    // The device whose context is current, or null.
    AudioDevice* currentDevice() const;

private:
    void openOutput();
    void closeOutput();
    void setUpListener();
    void keepListenerContextCurrent();
    bool openCapture(bool logOpenFailure);
    bool setUpResampler();
    bool resample(int frames);
    std::list<std::string> deviceList(ALCenum which) const;
    // The names of an OpenAL device list: a run of NUL-terminated names
    // closed by an empty one (none for a null list).
    static std::list<std::string> namesOf(const ALCchar* list);

    AudioDevice* m_listenerOwner;
    ALCdevice* mp_device;
    ALCcontext* mp_context;
    ALCdevice* mp_captureDevice;
    int m_captureCapacity;
    int m_deviceBufferFrames;  // what the device holds for us between reads
    std::atomic<int> m_captureBufferMs{DefaultCaptureBufferMs};  // set from the host's thread
    std::unique_ptr<char[]> mp_captureBuffer;
    std::unique_ptr<char[]> mp_resampledBuffer;
    int m_sampleCount;
    int m_resampledBufferSize;
    int m_captureFormat;
    int m_outputFormat;
    int m_captureRate;
    int m_outputRate;
    int m_playbackFormat;
    int m_playbackRate;
    std::string m_captureDeviceName;
    std::unique_ptr<AudioResampler> mp_resampler;
    bool m_resampling;
    // The open capture device reports its connection (ALC_EXT_disconnect).
    bool m_captureReportsConnection;
};

#endif
