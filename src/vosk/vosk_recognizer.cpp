#include "vosk/vosk_recognizer.h"

#include "ksr_logger.h"
#include "vosk/vosk_c_api.h"
#include "vosk_model.h"

namespace Vosk {

namespace {

// This libvosk build adds the per-word "result" array with "conf" values only
// on request, and the confidence rules need it on every final result.
VoskRecognizer* withWords(VoskRecognizer* recognizer)
{
    if (recognizer)
        vosk_recognizer_set_words(recognizer, 1);
    return recognizer;
}

std::string copyResult(const char* text) { return text ? std::string(text) : std::string(); }

}  // namespace

Recognizer::Recognizer(const Model& model, float sampleRate)
    : mp_voskRecognizer(withWords(vosk_recognizer_new(model.handle(), sampleRate)))
{
}

Recognizer::Recognizer(const Model& model, float sampleRate, const std::string& grammar)
    : mp_voskRecognizer(
          withWords(vosk_recognizer_new_grm(model.handle(), sampleRate, grammar.c_str())))
{
}

Recognizer::~Recognizer()
{
    if (mp_voskRecognizer)
        vosk_recognizer_free(mp_voskRecognizer);
}

bool Recognizer::isValid() const { return mp_voskRecognizer != nullptr; }

void Recognizer::setMaxAlternatives(int count)
{
    if (mp_voskRecognizer)
        vosk_recognizer_set_max_alternatives(mp_voskRecognizer, count);
}

bool Recognizer::acceptWaveform(const char* data, int length)
{
    if (!mp_voskRecognizer) {
        KSR_Logger::Error("Recognizer: acceptWaveform: mp_voskRecognizer is null");
        return false;
    }
    return vosk_recognizer_accept_waveform(mp_voskRecognizer, data, length) != 0;
}

std::string Recognizer::result()
{
    if (!mp_voskRecognizer) {
        KSR_Logger::Error("Recognizer: result: mp_voskRecognizer is null");
        return std::string();
    }
    return copyResult(vosk_recognizer_result(mp_voskRecognizer));
}

std::string Recognizer::partialResult()
{
    if (!mp_voskRecognizer) {
        KSR_Logger::Error("Recognizer: partialResult: mp_voskRecognizer is null");
        return std::string();
    }
    return copyResult(vosk_recognizer_partial_result(mp_voskRecognizer));
}

std::string Recognizer::finalResult()
{
    if (!mp_voskRecognizer) {
        KSR_Logger::Error("Recognizer: finalResult: mp_voskRecognizer is null");
        return std::string();
    }
    return copyResult(vosk_recognizer_final_result(mp_voskRecognizer));
}

}  // namespace Vosk
