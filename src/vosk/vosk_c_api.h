#ifndef KSR_VOSK_C_API_H
#define KSR_VOSK_C_API_H

// The part of libvosk's flat C interface that the module calls. libvosk is
// linked as a prebuilt binary; these declarations match its exported symbols.
#ifdef __cplusplus
extern "C" {
#endif

typedef struct VoskModel VoskModel;
typedef struct VoskRecognizer VoskRecognizer;

void vosk_set_log_level(int log_level);

VoskModel* vosk_model_new(const char* model_path);
void vosk_model_free(VoskModel* model);
// Index of the word in the model's vocabulary, -1 when it is not there.
int vosk_model_find_word(VoskModel* model, const char* word);

VoskRecognizer* vosk_recognizer_new(VoskModel* model, float sample_rate);
// `grammar` is a JSON array of phrases.
VoskRecognizer* vosk_recognizer_new_grm(VoskModel* model, float sample_rate, const char* grammar);
// Asks for the per-word "result" array (with "conf") in final results.
void vosk_recognizer_set_words(VoskRecognizer* recognizer, int words);
// Final results then hold "alternatives": up to that many texts with a
// total "confidence" each (higher is likelier), and no per-word "conf".
void vosk_recognizer_set_max_alternatives(VoskRecognizer* recognizer, int max_alternatives);
// 1: an utterance ended and a result is ready; 0: decoding goes on; -1: error.
int vosk_recognizer_accept_waveform(VoskRecognizer* recognizer, const char* data, int length);
const char* vosk_recognizer_result(VoskRecognizer* recognizer);
const char* vosk_recognizer_partial_result(VoskRecognizer* recognizer);
const char* vosk_recognizer_final_result(VoskRecognizer* recognizer);
void vosk_recognizer_free(VoskRecognizer* recognizer);

#ifdef __cplusplus
}
#endif

#endif
