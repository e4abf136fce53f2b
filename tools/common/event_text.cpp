#include "event_text.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace EventText {

std::string quoted(const std::string& text)
{
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    writer.String(text.c_str(), static_cast<rapidjson::SizeType>(text.size()));
    return buffer.GetString();
}

std::string grammarName(const GrammarNames& names, KSR::GrammarId id)
{
    const auto found = names.grammars.find(id);
    return found == names.grammars.end() ? std::string("?") : found->second;
}

std::string ruleName(const GrammarNames& names, KSR::RuleId id)
{
    const auto found = names.rules.find(id);
    return found == names.rules.end() ? std::string("?") : found->second;
}

std::string result(const GrammarNames& names, ResultKind kind, const KSR::SRData& data)
{
    switch (kind) {
    case ResultKind::Text:
        return quoted(data.text);
    case ResultKind::Format:
        return quoted(data.text) + "  command " + std::to_string(data.commandId);
    case ResultKind::Command:
        break;
    }
    // The values next to the words they were said in, where a narrow
    // column still shows them.
    const std::string values = arguments(data.arguments);
    return quoted(data.text) + (values.empty() ? std::string() : "  [" + values + "]") + "  grammar " +
           std::to_string(data.grammarId) + " " + grammarName(names, data.grammarId) + ", rule " +
           std::to_string(data.ruleId) + " " + ruleName(names, data.ruleId) + ", command " +
           std::to_string(data.commandId);
}

std::string arguments(const std::vector<KSR::Argument>& values)
{
    std::string text;
    for (const KSR::Argument& value : values) {
        if (!text.empty())
            text += ", ";
        text += value.name + '=' +
                (value.type == KSR::SlotType::Number ? std::to_string(value.number) : quoted(value.text));
    }
    return text;
}

std::string hypothesis(const KSR::SRData& data) { return quoted(data.text); }

std::string grammar(const GrammarNames& names, KSR::GrammarId id, bool on)
{
    return grammarName(names, id) + (on ? " on" : " off");
}

std::string mode(const char* name, bool on) { return std::string(name) + (on ? " on" : " off"); }

std::string microphone(const std::string& device, bool connected)
{
    return quoted(device) + (connected ? " back" : " lost");
}

std::string document(const std::string& text) { return quoted(text); }

std::string line(const char* event, const std::string& details)
{
    std::string text = event;
    if (details.empty())
        return text;
    text.resize(12, ' ');
    return text + details;
}

}  // namespace EventText
