#include "fake_result.h"

#include <cstring>
#include <utility>

namespace SapiFakes {

namespace {

// Lays the phrase out in one block: fixed parts first, then the strings.
class BlockWriter {
public:
    explicit BlockWriter(std::size_t fixedSize) : m_fixed(fixedSize) {}
    void addString(const std::string& text) { m_stringUnits += wide(text).size() + 1; }
    std::size_t size() const { return m_fixed + m_stringUnits * sizeof(WCHAR); }

    void start(unsigned char* block)
    {
        m_block = block;
        m_next = m_fixed;
    }
    const WCHAR* place(const std::string& text)
    {
        const KSR::WideString converted = wide(text);
        auto* target = reinterpret_cast<WCHAR*>(m_block + m_next);
        std::memcpy(target, converted.c_str(), converted.size() * sizeof(WCHAR));
        target[converted.size()] = 0;
        m_next += (converted.size() + 1) * sizeof(WCHAR);
        return target;
    }

private:
    std::size_t m_fixed;
    std::size_t m_stringUnits = 0;
    unsigned char* m_block = nullptr;
    std::size_t m_next = 0;
};

std::size_t propertiesIn(const std::vector<PhraseProperty>& properties)
{
    std::size_t count = properties.size();
    for (const PhraseProperty& property : properties)
        count += propertiesIn(property.children);
    return count;
}

std::size_t rulesIn(const std::vector<PhraseRule>& rules)
{
    std::size_t count = rules.size();
    for (const PhraseRule& rule : rules)
        count += rulesIn(rule.children);
    return count;
}

void addPropertyStrings(const std::vector<PhraseProperty>& properties, BlockWriter& writer)
{
    for (const PhraseProperty& property : properties) {
        writer.addString(property.name);
        writer.addString(property.value);
        addPropertyStrings(property.children, writer);
    }
}

void addRuleStrings(const std::vector<PhraseRule>& rules, BlockWriter& writer)
{
    for (const PhraseRule& rule : rules) {
        writer.addString(rule.name);
        addRuleStrings(rule.children, writer);
    }
}

// Siblings lie side by side from `next` on; each one's children follow.
const SPPHRASEPROPERTY* placeProperties(const std::vector<PhraseProperty>& sources, SPPHRASEPROPERTY* slots,
                                        std::size_t& next, BlockWriter& writer, std::size_t elementCount)
{
    if (sources.empty())
        return nullptr;
    SPPHRASEPROPERTY* const first = slots + next;
    next += sources.size();
    for (std::size_t i = 0; i < sources.size(); ++i) {
        const PhraseProperty& source = sources[i];
        SPPHRASEPROPERTY& target = first[i];
        target.pszName = writer.place(source.name);
        target.ulId = source.id;
        target.pszValue = writer.place(source.value);
        target.vValue.vt = source.type;
        target.vValue.lVal = source.number;
        target.ulFirstElement = source.firstElement;
        target.ulCountOfElements = source.countOfElements >= 0
                                       ? static_cast<ULONG>(source.countOfElements)
                                       : static_cast<ULONG>(elementCount - source.firstElement);
        target.pNextSibling = i + 1 < sources.size() ? &first[i + 1] : nullptr;
        target.pFirstChild = placeProperties(source.children, slots, next, writer, elementCount);
    }
    return first;
}

const SPPHRASERULE* placeRules(const std::vector<PhraseRule>& sources, SPPHRASERULE* slots, std::size_t& next,
                               BlockWriter& writer, const std::vector<PhraseElement>& elements)
{
    if (sources.empty())
        return nullptr;
    SPPHRASERULE* const first = slots + next;
    next += sources.size();
    for (std::size_t i = 0; i < sources.size(); ++i) {
        const PhraseRule& source = sources[i];
        SPPHRASERULE& target = first[i];
        target.pszName = writer.place(source.name);
        target.ulId = source.id;
        target.ulFirstElement = source.firstElement;
        target.ulCountOfElements = source.countOfElements;
        target.SREngineConfidence =
            source.firstElement < elements.size() ? elements[source.firstElement].engineConfidence : 0.0f;
        target.pNextSibling = i + 1 < sources.size() ? &first[i + 1] : nullptr;
        target.pFirstChild = placeRules(source.children, slots, next, writer, elements);
    }
    return first;
}

}  // namespace

FakeResult::FakeResult(PhraseSpec scripted)
    : m_scripted(std::move(scripted))
{
}

KSR::ComPtr<FakeResult> FakeResult::make(PhraseSpec scripted)
{
    return KSR::ComPtr<FakeResult>::adopt(new FakeResult(std::move(scripted)));
}

bool FakeResult::implements(REFIID riid) const
{
    return IsEqualIID(riid, IID_ISpRecoResult) || IsEqualIID(riid, IID_ISpPhrase);
}

SPPHRASE* FakeResult::buildPhrase() const
{
    const std::size_t propertiesOffset = sizeof(SPPHRASE);
    const std::size_t rulesOffset = propertiesOffset + propertiesIn(m_scripted.properties) * sizeof(SPPHRASEPROPERTY);
    const std::size_t elementsOffset = rulesOffset + rulesIn(m_scripted.rules) * sizeof(SPPHRASERULE);
    BlockWriter writer(elementsOffset + m_scripted.elements.size() * sizeof(SPPHRASEELEMENT));
    writer.addString(m_scripted.ruleName);
    addPropertyStrings(m_scripted.properties, writer);
    addRuleStrings(m_scripted.rules, writer);
    for (const auto& element : m_scripted.elements) {
        writer.addString(element.text);
        writer.addString(element.text);
    }

    auto* block = static_cast<unsigned char*>(CoTaskMemAlloc(writer.size()));
    if (!block)
        return nullptr;
    std::memset(block, 0, writer.size());
    writer.start(block);

    auto* phrase = reinterpret_cast<SPPHRASE*>(block);
    auto* properties = reinterpret_cast<SPPHRASEPROPERTY*>(block + propertiesOffset);
    auto* rules = reinterpret_cast<SPPHRASERULE*>(block + rulesOffset);
    auto* elements = reinterpret_cast<SPPHRASEELEMENT*>(block + elementsOffset);

    phrase->cbSize = sizeof(SPPHRASE);
    phrase->LangID = 0x0409;
    phrase->ullGrammarID = m_scripted.grammarId;
    phrase->Rule.pszName = writer.place(m_scripted.ruleName);
    phrase->Rule.ulId = m_scripted.ruleId;
    phrase->Rule.ulCountOfElements = static_cast<ULONG>(m_scripted.elements.size());
    phrase->Rule.SREngineConfidence = m_scripted.elements.empty() ? 0.0f : m_scripted.elements.front().engineConfidence;

    std::size_t nextProperty = 0;
    phrase->pProperties =
        placeProperties(m_scripted.properties, properties, nextProperty, writer, m_scripted.elements.size());
    std::size_t nextRule = 0;
    phrase->Rule.pFirstChild = placeRules(m_scripted.rules, rules, nextRule, writer, m_scripted.elements);

    for (std::size_t i = 0; i < m_scripted.elements.size(); ++i) {
        const PhraseElement& source = m_scripted.elements[i];
        SPPHRASEELEMENT& target = elements[i];
        target.pszDisplayText = writer.place(source.text);
        target.pszLexicalForm = writer.place(source.text);
        target.bDisplayAttributes = source.displayAttributes;
        target.RequiredConfidence = source.requiredConfidence;
        target.ActualConfidence = source.requiredConfidence;
        target.SREngineConfidence = source.engineConfidence;
    }
    phrase->pElements = m_scripted.elements.empty() ? nullptr : elements;
    return phrase;
}

HRESULT FakeResult::GetPhrase(SPPHRASE** ppCoMemPhrase)
{
    CallLog::add("Result.GetPhrase");
    const HRESULT result = Script::next(logName(), "GetPhrase");
    if (!ppCoMemPhrase)
        return E_POINTER;
    *ppCoMemPhrase = nullptr;
    if (FAILED(result))
        return result;
    *ppCoMemPhrase = buildPhrase();
    return *ppCoMemPhrase ? S_OK : E_OUTOFMEMORY;
}

HRESULT FakeResult::GetText(ULONG ulStart, ULONG ulCount, BOOL fUseTextReplacements, LPWSTR* ppszCoMemText,
                            BYTE* pbDisplayAttributes)
{
    CallLog::add("Result.GetText(" + hex(ulStart) + ", " + hex(ulCount) + ", " + std::to_string(fUseTextReplacements) +
                 ", " + (pbDisplayAttributes ? "attributes" : "null") + ")");
    const HRESULT result = Script::next(logName(), "GetText");
    if (!ppszCoMemText)
        return E_POINTER;
    *ppszCoMemText = nullptr;
    if (FAILED(result))
        return result;
    *ppszCoMemText = coTaskMemText(m_scripted.text);
    return S_OK;
}

PhraseSpec commandPhrase(ULONGLONG grammarId, ULONG ruleId, LONG commandId, const std::string& text,
                         signed char requiredConfidence, float engineConfidence)
{
    PhraseSpec scripted;
    scripted.grammarId = grammarId;
    scripted.ruleId = ruleId;
    scripted.ruleName = "rule";
    scripted.text = text;
    scripted.elements.push_back(PhraseElement{text, requiredConfidence, engineConfidence});
    PhraseProperty property;
    property.id = ruleId;
    property.value = text;
    property.number = commandId;
    scripted.properties.push_back(property);
    return scripted;
}

}  // namespace SapiFakes
