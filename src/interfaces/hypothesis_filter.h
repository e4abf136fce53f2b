#ifndef KSR_HYPOTHESIS_FILTER_H
#define KSR_HYPOTHESIS_FILTER_H

#include <map>
#include <mutex>
#include <set>

#include "ksr_types.h"

// Decides which hypotheses are new. A recognizer repeats its partial result
// with every chunk of audio while it decodes an utterance: a hundred or more
// identical hypotheses per utterance. A hypothesis passes when it differs
// from the last one of its grammar; the command and the dictation
// recognizer report under different grammars, so each has its own memory.
//
// An utterance ends with a result or a failure, which clears the memory.
// When the back end feeds audio in chunks it also ends each chunk: a grammar
// whose hypothesis that chunk did not repeat is forgotten (its recognizer
// heard something else, or its utterance ended without a report), so the
// same text later is a new hypothesis.
//
// Thread-safe: reports come from the worker thread, grammar switches from
// the host's too.
class HypothesisFilter {
public:
    // True when `data` is new; remembers it.
    bool pass(const KSR::SRData& data);
    void utteranceEnded();
    void chunkEnded();

private:
    std::mutex m_mutex;
    std::map<KSR::GrammarId, KSR::SRData> m_last;
    std::set<KSR::GrammarId> m_repeatedThisChunk;
};

#endif
