#ifndef KSR_VOSK_ENGINE_H
#define KSR_VOSK_ENGINE_H

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "ksr_export.h"
#include "ksr_types.h"

namespace Vosk {

class Model;
class Recognizer;

// The recognition core of the Vosk back end. Owns the model and three
// recognizers: free dictation, a command recognizer restricted to the JSON
// phrase list, and a spelling recognizer restricted to the 26 letters.
//
// Threads: the host thread changes the grammar inputs (command list,
// keywords, forced words, thresholds, modes, activation) while the worker
// thread feeds audio. Flags are atomic; the lists, keywords and phrase text
// are guarded by one mutex, which is never held while the registered
// functions run (they re-enter the engine on the same thread).
// Non-copyable: the engine owns library handles.
class KSR_EXPORT Engine {
public:
    enum RecognitionMode { Command = 0, Dictation = 1 };

    Engine();
    ~Engine();
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    bool initialize(const std::string& modelPath);
    const Vosk::Model* model();

    void setCommandsList(const std::vector<std::string>& commands);
    void setForcedWordsList(const std::vector<std::string>& words);
    void setLiteralKeyword(const std::string& keyword);
    void setForcedWordsKeyword(const std::string& keyword);

    void setCommandConfidenceThreshold(int threshold);
    void setDictationConfidenceThreshold(int threshold);
    int getCommandConfidenceThreshold();
    int getDictationConfidenceThreshold();

    void setCommandRecognizedFunction(const KSR::CommandRecognizedFunction& function);
    void setDictationRecognizedFunction(const KSR::DictationRecognizedFunction& function);

    bool dictationModeEnabled() const;
    bool spellingEnabled() const;
    bool isActivated();
    bool microphoneSetupSupported();
    bool voiceTrainingSupported();

    void processAudio(const char* data, int length);
    void processFinalAudio();
    bool setActivated(bool active);
    void setDictationModeEnabled(bool enabled);
    void setSpellingEnabled(bool enabled);

private:
    void init();
    std::string createCommandsPhrases();
    std::string commandToText(const std::string& command);
    std::string jsonToString(const std::string& json);
    bool isConfident(const std::string& json, RecognitionMode mode);
    std::string resultToCommand(const std::string& json);
    std::string resultToSpelling(const std::string& json);

    // Tests reach the private steps through this friend.
    friend class EngineTestAccess;

    Vosk::Recognizer* mp_dictationRecognizer;
    Vosk::Recognizer* mp_commandRecognizer;
    Vosk::Recognizer* mp_spellingRecognizer;
    std::vector<std::string> m_commandsList;
    std::vector<std::string> m_forcedWordsList;
    std::string m_literalKeyword;
    int m_literalKeywordWords;
    std::string m_forcedWordsKeyword;
    int m_forcedWordsKeywordWords;
    std::string m_commandsPhrases;
    std::atomic<int> m_commandConfidenceThreshold;
    std::atomic<int> m_dictationConfidenceThreshold;
    std::atomic<bool> m_initialized;
    std::atomic<bool> m_dictationModeEnabled;
    std::atomic<bool> m_spellingEnabled;
    std::atomic<bool> m_commandsChanged;
    std::atomic<bool> m_activated;
    std::atomic<bool> m_modeChanged;
    Vosk::Model* mp_model;
    KSR::CommandRecognizedFunction m_commandRecognizedFunction;
    KSR::DictationRecognizedFunction m_dictationRecognizedFunction;

    // Guards the lists, keywords, phrase text and the two functions.
    mutable std::mutex m_mutex;
};

}  // namespace Vosk

#endif
