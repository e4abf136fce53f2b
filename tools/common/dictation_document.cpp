#include "dictation_document.h"

ResultKind resultKind(const GrammarNames& names, const KSR::SRData& data)
{
    if (data.grammarId != names.dictationGrammar)
        return ResultKind::Command;
    if (data.ruleId == KSR::InvalidRuleId)
        return ResultKind::Text;
    return data.ruleId == names.formattingRule ? ResultKind::Format : ResultKind::Command;
}

const char* resultEventName(ResultKind kind)
{
    switch (kind) {
    case ResultKind::Text:
        return "text";
    case ResultKind::Format:
        return "format";
    case ResultKind::Command:
        break;
    }
    return "command";
}

ResultKind DictationDocument::add(const KSR::SRData& data)
{
    const ResultKind kind = resultKind(m_names, data);
    if (kind != ResultKind::Command)
        m_text += data.text;
    return kind;
}
