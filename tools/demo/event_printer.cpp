#include "event_printer.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace {

using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

// The text between quotes, with line feeds, tabs and quotes visible.
std::string quoted(const std::string& text)
{
    rapidjson::StringBuffer buffer;
    Writer writer(buffer);
    writer.String(text.c_str(), static_cast<rapidjson::SizeType>(text.size()));
    return buffer.GetString();
}

template <typename Fill>
std::string jsonLine(const char* event, Fill fill)
{
    rapidjson::StringBuffer buffer;
    Writer writer(buffer);
    writer.StartObject();
    writer.Key("event");
    writer.String(event);
    fill(writer);
    writer.EndObject();
    return buffer.GetString();
}

void key(Writer& writer, const char* name, const std::string& value)
{
    writer.Key(name);
    writer.String(value.c_str(), static_cast<rapidjson::SizeType>(value.size()));
}

// The grammar, rule and command ids of a result.
void ids(Writer& writer, const KSR::SRData& data)
{
    writer.Key("grammar");
    writer.Uint64(data.grammarId);
    writer.Key("rule");
    writer.Uint(data.ruleId);
    writer.Key("command");
    writer.Int(data.commandId);
}

}  // namespace

EventPrinter::EventPrinter(K_VoskInterface& recognizer, const GrammarNames& names, bool json, bool hypotheses,
                           std::FILE* out)
    : m_names(names), m_json(json), m_hypotheses(hypotheses), m_out(out)
{
    connect(&recognizer, &K_SRInterface::recognitionResult, this, [this](KSR::SRData data) { result(data); });
    connect(&recognizer, &K_SRInterface::hypothesisResult, this, [this](KSR::SRData data) { hypothesis(data); });
    connect(&recognizer, &K_SRInterface::recognitionFailed, this, [this] { failed(); });
    connect(&recognizer, &K_SRInterface::grammarActivatedSignal, this,
            [this](KSR::GrammarId id, bool on) { grammar(id, on); });
    connect(&recognizer, &K_VoskInterface::dictationActivated, this, [this](bool on) { mode("dictation", on); });
    connect(&recognizer, &K_VoskInterface::numeralsModeActivated, this, [this](bool on) { mode("numerals", on); });
    connect(&recognizer, &K_VoskInterface::spellingModeActivated, this, [this](bool on) { mode("spelling", on); });
    connect(&recognizer, &K_VoskInterface::capitalsModeActivated, this, [this](bool on) { mode("capitals", on); });
    connect(&recognizer, &K_VoskInterface::microphoneDisconnected, this,
            [this](const QString& device) { microphone(device, false); });
    connect(&recognizer, &K_VoskInterface::microphoneReconnected, this,
            [this](const QString& device) { microphone(device, true); });
}

std::string EventPrinter::grammarName(KSR::GrammarId id) const
{
    const auto found = m_names.grammars.find(id);
    return found == m_names.grammars.end() ? std::string("?") : found->second;
}

std::string EventPrinter::ruleName(KSR::RuleId id) const
{
    const auto found = m_names.rules.find(id);
    return found == m_names.rules.end() ? std::string("?") : found->second;
}

void EventPrinter::emitLine(const std::string& line)
{
    std::fprintf(m_out, "%s\n", line.c_str());
    std::fflush(m_out);
}

void EventPrinter::file(const std::string& path)
{
    emitLine(m_json ? jsonLine("file", [&](Writer& w) { key(w, "path", path); }) : "== " + path);
}

void EventPrinter::listening(const std::string& device, int frequency)
{
    emitLine(m_json ? jsonLine("listening",
                               [&](Writer& w) {
                                   key(w, "device", device);
                                   w.Key("frequency");
                                   w.Int(frequency);
                               })
                    : "listening on \"" + device + "\" at " + std::to_string(frequency) +
                          " Hz (Ctrl+C ends)");
}

void EventPrinter::document()
{
    if (m_document.empty())
        return;
    emitLine(m_json ? jsonLine("document", [&](Writer& w) { key(w, "text", m_document); })
                    : "document    " + quoted(m_document));
}

void EventPrinter::result(const KSR::SRData& data)
{
    m_lastHypothesis.clear();
    const bool dictation = data.grammarId == m_names.dictationGrammar;
    if (dictation && (data.ruleId == KSR::InvalidRuleId || data.ruleId == m_names.formattingRule))
        m_document += data.text;
    if (dictation && data.ruleId == KSR::InvalidRuleId) {
        emitLine(m_json ? jsonLine("text",
                                   [&](Writer& w) {
                                       key(w, "text", data.text);
                                       w.Key("grammar");
                                       w.Uint64(data.grammarId);
                                   })
                        : "text        " + quoted(data.text));
    } else if (dictation && data.ruleId == m_names.formattingRule) {
        emitLine(m_json ? jsonLine("format",
                                   [&](Writer& w) {
                                       key(w, "text", data.text);
                                       ids(w, data);
                                   })
                        : "format      " + quoted(data.text) + "  command " + std::to_string(data.commandId));
    } else {
        emitLine(m_json ? jsonLine("command",
                                   [&](Writer& w) {
                                       key(w, "text", data.text);
                                       w.Key("grammar");
                                       w.Uint64(data.grammarId);
                                       key(w, "grammarName", grammarName(data.grammarId));
                                       w.Key("rule");
                                       w.Uint(data.ruleId);
                                       key(w, "ruleName", ruleName(data.ruleId));
                                       w.Key("command");
                                       w.Int(data.commandId);
                                   })
                        : "command     " + quoted(data.text) + "  grammar " + std::to_string(data.grammarId) + " " +
                              grammarName(data.grammarId) + ", rule " + std::to_string(data.ruleId) + " " +
                              ruleName(data.ruleId) + ", command " + std::to_string(data.commandId));
    }
}

void EventPrinter::hypothesis(const KSR::SRData& data)
{
    std::string& last = m_lastHypothesis[data.grammarId];
    if (!m_hypotheses || data.text == last)
        return;
    last = data.text;
    emitLine(m_json ? jsonLine("hypothesis",
                               [&](Writer& w) {
                                   key(w, "text", data.text);
                                   ids(w, data);
                               })
                    : "hypothesis  " + quoted(data.text));
}

void EventPrinter::failed()
{
    m_lastHypothesis.clear();
    emitLine(m_json ? jsonLine("failed", [](Writer&) {}) : "failed");
}

void EventPrinter::grammar(KSR::GrammarId id, bool on)
{
    emitLine(m_json ? jsonLine("grammar",
                               [&](Writer& w) {
                                   w.Key("grammar");
                                   w.Uint64(id);
                                   key(w, "name", grammarName(id));
                                   w.Key("active");
                                   w.Bool(on);
                               })
                    : "grammar     " + grammarName(id) + (on ? " on" : " off"));
}

void EventPrinter::mode(const char* name, bool on)
{
    emitLine(m_json ? jsonLine("mode",
                               [&](Writer& w) {
                                   w.Key("mode");
                                   w.String(name);
                                   w.Key("active");
                                   w.Bool(on);
                               })
                    : std::string("mode        ") + name + (on ? " on" : " off"));
}

void EventPrinter::microphone(const QString& device, bool connected)
{
    const std::string name = device.toUtf8().toStdString();
    emitLine(m_json ? jsonLine("microphone",
                               [&](Writer& w) {
                                   key(w, "device", name);
                                   w.Key("connected");
                                   w.Bool(connected);
                               })
                    : "microphone  " + quoted(name) + (connected ? " back" : " lost"));
}
