#ifndef KSR_TESTS_ENGINE_TEST_ACCESS_H
#define KSR_TESTS_ENGINE_TEST_ACCESS_H

// Reaches the private steps and state of Vosk::Engine for the tests.

#include <string>
#include <vector>

#include "vosk_engine.h"

namespace Vosk {

class EngineTestAccess {
public:
    static std::string createCommandsPhrases(Engine& e) { return e.createCommandsPhrases(); }
    static std::string commandToText(Engine& e, const std::string& c) { return e.commandToText(c); }
    static std::string jsonToString(Engine& e, const std::string& j) { return e.jsonToString(j); }
    static bool isConfident(Engine& e, const std::string& j, Engine::RecognitionMode m) { return e.isConfident(j, m); }
    static std::string resultToCommand(Engine& e, const std::string& j) { return e.resultToCommand(j); }
    static std::string resultToSpelling(Engine& e, const std::string& j) { return e.resultToSpelling(j); }

    static std::vector<std::string> commandsList(Engine& e) { return e.m_commandsList; }
    static std::vector<std::string> forcedWordsList(Engine& e) { return e.m_forcedWordsList; }
    static std::string commandsPhrases(Engine& e) { return e.m_commandsPhrases; }
    static std::string literalKeyword(Engine& e) { return e.m_literalKeyword; }
    static std::string forcedWordsKeyword(Engine& e) { return e.m_forcedWordsKeyword; }
    static int literalKeywordWords(Engine& e) { return e.m_literalKeywordWords; }
    static int forcedWordsKeywordWords(Engine& e) { return e.m_forcedWordsKeywordWords; }
    static bool initialized(Engine& e) { return e.m_initialized; }
    static bool commandsChanged(Engine& e) { return e.m_commandsChanged; }
    static void setCommandsChanged(Engine& e, bool v) { e.m_commandsChanged = v; }
    static bool modeChanged(Engine& e) { return e.m_modeChanged; }
    static bool hasCommandRecognizer(Engine& e) { return e.mp_commandRecognizer != nullptr; }
    static bool hasDictationRecognizer(Engine& e) { return e.mp_dictationRecognizer != nullptr; }
    static bool hasSpellingRecognizer(Engine& e) { return e.mp_spellingRecognizer != nullptr; }
};

}  // namespace Vosk

#endif
