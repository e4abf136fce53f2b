#include "event_printer.h"

#include "event_text.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace {

using Writer = rapidjson::Writer<rapidjson::StringBuffer>;
using EventText::line;

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

// A command's slots as "arguments": {"line": 42, "colour": "#8b0000"}, a
// number slot as a JSON number, every other value as a string. Nothing for
// a command without arguments, whose line stays as it always was.
void arguments(Writer& writer, const std::vector<KSR::Argument>& values)
{
    if (values.empty())
        return;
    writer.Key("arguments");
    writer.StartObject();
    for (const KSR::Argument& value : values) {
        if (value.type == KSR::SlotType::Number) {
            writer.Key(value.name.c_str(), static_cast<rapidjson::SizeType>(value.name.size()));
            writer.Int64(value.number);
        } else {
            key(writer, value.name.c_str(), value.text);
        }
    }
    writer.EndObject();
}

}  // namespace

EventPrinter::EventPrinter(K_VoskInterface& recognizer, const GrammarNames& names, bool json, bool hypotheses,
                           std::FILE* out)
    : m_names(names), m_json(json), m_hypotheses(hypotheses), m_out(out), m_document(names)
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
    const std::string& text = m_document.text();
    if (text.empty())
        return;
    emitLine(m_json ? jsonLine("document", [&](Writer& w) { key(w, "text", text); })
                    : line("document", EventText::document(text)));
}

void EventPrinter::result(const KSR::SRData& data)
{
    m_lastHypothesis.clear();
    const ResultKind kind = m_document.add(data);
    const char* event = resultEventName(kind);
    if (!m_json) {
        emitLine(line(event, EventText::result(m_names, kind, data)));
        return;
    }
    emitLine(jsonLine(event, [&](Writer& w) {
        key(w, "text", data.text);
        switch (kind) {
        case ResultKind::Text:
            w.Key("grammar");
            w.Uint64(data.grammarId);
            break;
        case ResultKind::Format:
            ids(w, data);
            break;
        case ResultKind::Command:
            w.Key("grammar");
            w.Uint64(data.grammarId);
            key(w, "grammarName", EventText::grammarName(m_names, data.grammarId));
            w.Key("rule");
            w.Uint(data.ruleId);
            key(w, "ruleName", EventText::ruleName(m_names, data.ruleId));
            w.Key("command");
            w.Int(data.commandId);
            arguments(w, data.arguments);
            break;
        }
    }));
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
                    : line("hypothesis", EventText::hypothesis(data)));
}

void EventPrinter::failed()
{
    m_lastHypothesis.clear();
    emitLine(m_json ? jsonLine("failed", [](Writer&) {}) : line("failed", std::string()));
}

void EventPrinter::grammar(KSR::GrammarId id, bool on)
{
    emitLine(m_json ? jsonLine("grammar",
                               [&](Writer& w) {
                                   w.Key("grammar");
                                   w.Uint64(id);
                                   key(w, "name", EventText::grammarName(m_names, id));
                                   w.Key("active");
                                   w.Bool(on);
                               })
                    : line("grammar", EventText::grammar(m_names, id, on)));
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
                    : line("mode", EventText::mode(name, on)));
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
                    : line("microphone", EventText::microphone(name, connected)));
}
