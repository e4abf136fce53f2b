#include "check_session.h"

#include <algorithm>
#include <cmath>

#include "vosk/vosk_c_api.h"

namespace ClipCheck {

namespace {

// sox "synth whitenoise vol 0.003" measures 0.00098 RMS of full scale.
const double kNoiseRms = 0.00098 * 32767.0;

// Quoted, with line breaks and tabs written as \n and \t so that every
// outcome stays on one line.
std::string quoted(const std::string& text)
{
    std::string out = "\"";
    for (const char c : text) {
        if (c == '\n')
            out += "\\n";
        else if (c == '\t')
            out += "\\t";
        else
            out += c;
    }
    return out + "\"";
}

}  // namespace

CheckManager::CheckManager()
{
    // The manager leaves the library's warnings on; a run of hundreds of
    // sessions would print one for every word alignment it gives up on.
    vosk_set_log_level(-2);
    setGrammarActivationFunction([this](KSR::GrammarId id, bool on) {
        m_events.push_back(grammarName(id) + (on ? " on" : " off"));
    });
    setDictationActivatedFunction([this](bool on) { mode("dictation", on); });
    setNumeralsActivatedFunction([this](bool on) { mode("numerals", on); });
    setSpellingActivatedFunction([this](bool on) {
        m_spellingOn = on;
        mode("spelling", on);
    });
    setCapitalsActivatedFunction([this](bool on) { mode("capitals", on); });
}

CheckManager::~CheckManager() { stopRecognizing(); }

bool CheckManager::setUp(const std::string& modelPath, Mode mode, bool fast)
{
    if (!initialize(modelPath))
        return false;
    if (fast && !(setFastCommands(DefaultFastCommandsQuiet) && setCommandChaining(true)))
        return false;
    m_dictation = addDictationGrammar(mode == Mode::DictationKey ? "activate smith" : "");
    m_files = addCommandGrammar("north");
    m_filesRule = addRule(m_files, "files");
    m_edit = addCommandGrammar("south");
    const KSR::RuleId editRule = addRule(m_edit, "edit");
    if (addCommand(m_filesRule, "select all") != 0 || addCommand(m_filesRule, "close window") != 1 ||
        addCommand(m_filesRule, "go back") != 2 || addCommand(editRule, "save file") != 0 ||
        addCommand(editRule, "zoom in") != 1)
        return false;
    const std::vector<unsigned long> rules = getRuleIds(m_dictation);
    if (rules.empty())
        return false;
    m_formatRule = static_cast<KSR::RuleId>(rules.front());
    if (!setActivated(mode == Mode::Keys ? m_edit : m_files, true))
        return false;
    if (mode != Mode::Commands && mode != Mode::Keys && mode != Mode::DictationKey && !setActivated(m_dictation, true))
        return false;
    clear();
    return true;
}

void CheckManager::listen()
{
    if (const std::shared_ptr<KSR_VoskGrammar> keys = activationKeysGrammar())
        keys->setActivated(true);
    startRecognizing();
}

void CheckManager::clear()
{
    m_events.clear();
    m_failures = 0;
}

std::string CheckManager::grammarName(KSR::GrammarId id)
{
    if (id == m_dictation)
        return "dictation";
    if (id == m_files)
        return "files";
    if (id == m_edit)
        return "edit";
    const std::shared_ptr<KSR_VoskGrammar> keys = activationKeysGrammar();
    if (keys && keys->id() == id)
        return "keys";
    return "grammar " + std::to_string(id);
}

void CheckManager::mode(const char* name, bool on) { m_events.push_back(std::string(name) + (on ? " on" : " off")); }

// A command: grammar#id "phrase"; a formatting phrase: fmt[phrase] "what it
// writes"; dictated text: text "as delivered".
void CheckManager::processRecognition(KSR::SRData data)
{
    if (data.grammarId == m_files && data.ruleId == m_filesRule && data.commandId == 1 &&
        data.text == "close window")
        m_closeWindow = true;
    if (data.grammarId == m_dictation) {
        if (data.ruleId == m_formatRule) {
            std::string phrase = "?";
            if (const std::shared_ptr<KSR_VoskGrammar> grammar = getGrammar(m_dictation))
                if (const auto command = grammar->getCommand(m_formatRule, data.commandId))
                    phrase = command->phrase;
            m_events.push_back("fmt[" + phrase + "] " + quoted(data.text));
        } else {
            m_events.push_back("text " + quoted(data.text));
        }
        return;
    }
    m_events.push_back(grammarName(data.grammarId) + "#" + std::to_string(data.commandId) + " " + quoted(data.text));
}

void CheckManager::processRecognitionFailed() { ++m_failures; }

Stream::Stream(KSR_VoskManager& manager, std::uint64_t noiseSeed, std::uint64_t chunkSeed, Chunking chunking)
    : m_manager(manager)
    , m_noise(noiseSeed)
    , m_chunks(chunkSeed)
    , m_chunking(chunking)
{
    m_pending.reserve(kFrameSamples * 32);
}

std::int16_t Stream::noiseSample() { return static_cast<std::int16_t>(std::lround(m_noise.gaussian() * kNoiseRms)); }

void Stream::noise(std::size_t samples)
{
    for (std::size_t i = 0; i < samples; ++i)
        add(noiseSample());
}

void Stream::clip(const std::vector<std::int16_t>& samples)
{
    for (const std::int16_t sample : samples)
        add(sample + noiseSample());
}

void Stream::add(int sample)
{
    m_pending.push_back(static_cast<std::int16_t>(std::max(-32768, std::min(32767, sample))));
    if (m_nextChunk == 0) {
        const long long frames = m_chunking.frames > 0 ? m_chunking.frames : m_chunks.between(1, m_chunking.mostFrames);
        m_nextChunk = static_cast<std::size_t>(frames) * kFrameSamples;
    }
    if (m_pending.size() >= m_nextChunk)
        deliver();
}

void Stream::deliver()
{
    m_manager.processAudio(reinterpret_cast<const char*>(m_pending.data()),
                           static_cast<int>(m_pending.size() * sizeof(std::int16_t)));
    m_pending.clear();
    m_nextChunk = 0;
}

}  // namespace ClipCheck
