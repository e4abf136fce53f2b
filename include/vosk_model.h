#ifndef KSR_VOSK_MODEL_H
#define KSR_VOSK_MODEL_H

#include <string>

#include "ksr_export.h"

struct VoskModel;

namespace Vosk {

// Owns one loaded acoustic model. Non-copyable: a copy would share and
// release the same library handle twice.
class KSR_EXPORT Model {
public:
    Model();
    ~Model();
    Model(const Model&) = delete;
    Model& operator=(const Model&) = delete;

    // Loads the model at `path`. On failure logs one error line, keeps the
    // previous sample rate and returns false. A handle already held is not
    // released: callers use a fresh object.
    bool initialize(const std::string& path, unsigned int sampleRate);
    // Whether `word` is in the model's vocabulary.
    bool findWord(const std::string& word) const;
    unsigned int sampleRate() const;

    VoskModel* handle() const { return mp_voskModel; }

private:
    void init();

    VoskModel* mp_voskModel;
    unsigned int m_sampleRate;
};

}  // namespace Vosk

#endif
