#include "soak_desk.h"

#include <algorithm>

#include "model_phrases.h"

namespace Soak {

RecordingManager::RecordingManager() = default;

void RecordingManager::processRecognition(KSR::SRData data)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_heard.results.push_back(std::move(data));
}

void RecordingManager::processRecognitionFailed()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    ++m_heard.failures;
}

void RecordingManager::processHypothesis(KSR::SRData)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    ++m_hypotheses;
}

void RecordingManager::recordActivation(KSR::GrammarId grammar, bool on)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_heard.activations.push_back({grammar, on});
}

Heard RecordingManager::take()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    Heard heard;
    std::swap(heard, m_heard);
    return heard;
}

long RecordingManager::hypotheses() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_hypotheses;
}

const std::vector<std::pair<std::string, std::string>>& Desk::commandClips()
{
    static const std::vector<std::pair<std::string, std::string>> clips = {
        {"open file", "cmd_open_file.wav"}, {"save file", "cmd_save_file.wav"},
        {"close window", "cmd_close_window.wav"}, {"zoom in", "cmd_zoom_in.wav"},
        {"scroll down", "cmd_scroll_down.wav"}, {"select all", "cmd_select_all.wav"},
        {"new tab", "cmd_new_tab.wav"}, {"go back", "cmd_go_back.wav"}, {"undo", "cmd_undo.wav"}};
    return clips;
}

bool Desk::setUp(const std::string& modelDir, int fastCommands, std::string& problem)
{
    if (!m_manager.initialize(modelDir)) {
        problem = "the model in " + modelDir + " does not load";
        return false;
    }
    m_words = Bench::modelWords(modelDir);
    m_manager.setGrammarActivationFunction(
        [this](KSR::GrammarId id, bool on) { m_manager.recordActivation(id, on); });
    m_dictation = m_manager.addDictationGrammar("");
    const std::vector<unsigned long> dictationRules = m_manager.getRuleIds(m_dictation);
    if (m_dictation == KSR::InvalidGrammarId || dictationRules.empty()) {
        problem = "the dictation grammar cannot be made";
        return false;
    }
    m_formattingRule = static_cast<KSR::RuleId>(dictationRules.front());

    struct RulePlan {
        Grammar* grammar;
        const char* name;
        std::vector<std::string> phrases;
    };
    m_editor.id = m_manager.addCommandGrammar("north");
    m_browser.id = m_manager.addCommandGrammar("");
    m_scratch.id = m_manager.addCommandGrammar("");
    const std::vector<RulePlan> rules = {
        {&m_editor, "files", {"open file", "save file", "close window"}},
        {&m_editor, "view", {"zoom in", "scroll down", "select all"}},
        {&m_browser, "tabs", {"new tab", "go back"}},
        {&m_browser, "edit", {"undo"}},
        {&m_scratch, "recent", {}},
    };
    for (const RulePlan& plan : rules) {
        const KSR::RuleId rule = m_manager.addRule(plan.grammar->id, plan.name);
        plan.grammar->rules.push_back(rule);
        for (const std::string& phrase : plan.phrases)
            m_commands[phrase] = {plan.grammar->id, rule, m_manager.addCommand(rule, phrase)};
    }
    for (const auto& command : m_commands)
        if (command.second.id == KSR::InvalidCommandId || command.second.rule == KSR::InvalidRuleId) {
            problem = "the model does not know the command \"" + command.first + "\"";
            return false;
        }
    for (const Grammar* grammar : {&m_editor, &m_browser, &m_scratch})
        activate(grammar->id, true);
    m_manager.setFastCommands(fastCommands);
    m_manager.startRecognizing();
    return true;
}

bool Desk::active(KSR::GrammarId grammar)
{
    const auto found = m_manager.getGrammar(grammar);
    return found && found->isActive();
}

void Desk::activate(KSR::GrammarId grammar, bool on)
{
    if (active(grammar) != on)
        m_manager.setActivated(grammar, on);
}

Expected Desk::focusFor(const std::string& phrase, std::mt19937& random)
{
    const Command command = m_commands.at(phrase);
    Grammar& own = command.grammar == m_editor.id ? m_editor : m_browser;
    Grammar& other = command.grammar == m_editor.id ? m_browser : m_editor;
    activate(own.id, true);
    if (!m_manager.isRuleActivated(command.rule))
        m_manager.setRuleActivated(command.rule, true);
    // And one more switch that leaves the phrase available.
    switch (std::uniform_int_distribution<int>(0, 2)(random)) {
    case 0:
        activate(other.id, !active(other.id));
        break;
    case 1: {
        const KSR::RuleId rule = own.rules[0] == command.rule ? own.rules[1] : own.rules[0];
        m_manager.setRuleActivated(rule, !m_manager.isRuleActivated(rule));
        break;
    }
    default:
        activate(m_scratch.id, !active(m_scratch.id));
        break;
    }
    Expected expected;
    expected.kind = Expected::Result;
    expected.data = {command.grammar, command.rule, m_commands.at(phrase).id, phrase};
    return expected;
}

Expected Desk::prepareKey()
{
    activate(m_editor.id, false);
    Expected expected;
    expected.kind = Expected::Activation;
    expected.activated = m_editor.id;
    return expected;
}

void Desk::beginDictation()
{
    for (const Grammar* grammar : {&m_editor, &m_browser, &m_scratch})
        activate(grammar->id, false);
    activate(m_dictation, true);
}

void Desk::endDictation()
{
    m_manager.setSpellingModeEnabled(false);
    m_manager.setNumeralModeEnabled(false);
    setCapitals(false);
    activate(m_dictation, false);
    for (const Grammar* grammar : {&m_editor, &m_browser, &m_scratch})
        activate(grammar->id, true);
}

void Desk::setCapitals(bool on)
{
    m_manager.setCapitalsModeEnabled(on);
    m_capitals = on;
}

Expected Desk::dictated(const std::string& words) const
{
    Expected expected;
    expected.kind = Expected::Result;
    expected.data = {m_dictation, KSR::InvalidRuleId, KSR::InvalidCommandId, words};
    expected.match = m_capitals ? Expected::UpperWords : Expected::Words;
    return expected;
}

Expected Desk::spelled(const std::string& letters) const
{
    Expected expected = dictated(letters);
    expected.letters = true;
    return expected;
}

Expected Desk::formatting(const std::string& phrase, const std::string& text) const
{
    const auto& phrases = KSR_VoskManager::formattingPhrases();
    // The rule's first command is the literal keyword; the phrases follow it.
    const auto index = std::find(phrases.begin(), phrases.end(), phrase) - phrases.begin();
    Expected expected;
    expected.kind = Expected::Result;
    expected.data = {m_dictation, m_formattingRule, static_cast<KSR::CommandId>(index + 1), text};
    return expected;
}

bool Desk::taken(const std::string& phrase) const
{
    const auto& formatting = KSR_VoskManager::formattingPhrases();
    const auto unspoken = [&phrase](const std::pair<std::string, KSR::CommandId>& command) {
        return command.first == phrase;
    };
    return m_commands.count(phrase) || phrase == "north" || phrase == "literal" ||
           std::find(formatting.begin(), formatting.end(), phrase) != formatting.end() ||
           std::find_if(m_unspoken.begin(), m_unspoken.end(), unspoken) != m_unspoken.end();
}

void Desk::churn(std::mt19937& random)
{
    std::uniform_int_distribution<std::size_t> word(0, m_words.size() - 1);
    const KSR::RuleId recent = m_scratch.rules.front();
    for (int tries = 0; tries < 20; ++tries) {
        const std::string phrase = m_words[word(random)] + " " + m_words[word(random)];
        if (taken(phrase))
            continue;
        const KSR::CommandId id = m_manager.addCommand(recent, phrase);
        if (id != KSR::InvalidCommandId)
            m_unspoken.push_back({phrase, id});
        break;
    }
    if (m_unspoken.size() > 5) {
        m_manager.removeCommand(recent, m_unspoken.front().second);
        m_unspoken.erase(m_unspoken.begin());
    }
    auto spoken = m_commands.begin();
    std::advance(spoken, std::uniform_int_distribution<std::size_t>(0, m_commands.size() - 1)(random));
    Command& command = spoken->second;
    m_manager.removeCommand(command.rule, command.id);
    command.id = m_manager.addCommand(command.rule, spoken->first);
}

void Desk::changeThresholds(std::mt19937& random)
{
    static const int command[] = {70, 80, 90, 95};
    static const int dictation[] = {60, 70, 80};
    m_manager.setCommandRequiredConfidence(command[std::uniform_int_distribution<int>(0, 3)(random)]);
    m_manager.setDictationRequiredConfidence(dictation[std::uniform_int_distribution<int>(0, 2)(random)]);
}

void Desk::restartListening()
{
    m_manager.stopRecognizing();
    m_manager.startRecognizing();
}

std::size_t Desk::commandCount() const { return m_commands.size() + m_unspoken.size(); }

}  // namespace Soak
