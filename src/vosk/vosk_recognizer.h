#ifndef KSR_VOSK_RECOGNIZER_H
#define KSR_VOSK_RECOGNIZER_H

#include <string>

struct VoskRecognizer;

namespace Vosk {

class Model;

// Owns one decoder made from a model, free-form or restricted to a JSON
// grammar. Calls on a recognizer the library refused to create log one line
// and return false or "", so a failed recognizer stays harmless.
class Recognizer {
public:
    Recognizer(const Model& model, float sampleRate);
    Recognizer(const Model& model, float sampleRate, const std::string& grammar);
    ~Recognizer();
    Recognizer(const Recognizer&) = delete;
    Recognizer& operator=(const Recognizer&) = delete;

    bool isValid() const;
    // Final results then list up to `count` alternatives (see
    // vosk_recognizer_set_max_alternatives).
    void setMaxAlternatives(int count);
    // True when the library reports an utterance end (1) and, by the plain
    // non-zero test, also for its error value (-1).
    bool acceptWaveform(const char* data, int length);
    std::string result();
    std::string partialResult();
    std::string finalResult();

private:
    VoskRecognizer* mp_voskRecognizer;
};

}  // namespace Vosk

#endif
