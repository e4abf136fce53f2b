#include "interfaces/hypothesis_filter.h"

namespace {

bool sameHypothesis(const KSR::SRData& a, const KSR::SRData& b)
{
    return a.grammarId == b.grammarId && a.ruleId == b.ruleId && a.commandId == b.commandId && a.text == b.text;
}

}  // namespace

bool HypothesisFilter::pass(const KSR::SRData& data)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_repeatedThisChunk.insert(data.grammarId);
    const auto last = m_last.find(data.grammarId);
    if (last != m_last.end() && sameHypothesis(last->second, data))
        return false;
    m_last[data.grammarId] = data;
    return true;
}

void HypothesisFilter::utteranceEnded()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_last.clear();
    m_repeatedThisChunk.clear();
}

void HypothesisFilter::chunkEnded()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    for (auto it = m_last.begin(); it != m_last.end();) {
        if (m_repeatedThisChunk.count(it->first))
            ++it;
        else
            it = m_last.erase(it);
    }
    m_repeatedThisChunk.clear();
}
