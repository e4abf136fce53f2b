// Hypotheses without the flood: which hypotheses the on-change setting lets
// through, on the filter itself and through an interface whose loop reports
// the way a recognizer does (the same partial result with every chunk).
#include <gtest/gtest.h>

#include <QSignalSpy>

#include "interface_test_support.h"
#include "interfaces/hypothesis_filter.h"

namespace {

const KSR::SRData kOpen{101, 10, 0, "open file"};
const KSR::SRData kClose{101, 10, 1, "close window"};
const KSR::SRData kDictated{102, KSR::InvalidRuleId, -1, "hello"};
const KSR::SRData kDictatedMore{102, KSR::InvalidRuleId, -1, "hello world"};

// A back end whose loop reports one scripted utterance, chunk by chunk.
class ScriptedInterface : public K_SRInterface {
public:
    ScriptedInterface() : K_SRInterface(nullptr) {}
    ~ScriptedInterface() override { stop(); }

    // Each inner list is one chunk: the hypotheses it reports; an empty
    // record text in the list stands for a final result of that record.
    std::vector<std::vector<KSR::SRData>> chunks;

    void speechRecognitionStarted() override
    {
        for (const std::vector<KSR::SRData>& chunk : chunks) {
            for (const KSR::SRData& data : chunk) {
                if (data.commandId == -2)
                    reportResult(KSR::SRData{data.grammarId, data.ruleId, 0, data.text});
                else
                    reportHypothesis(data);
            }
            hypothesisChunkEnded();
        }
    }
    void speechRecognitionEnded() override {}
};

std::vector<std::string> texts(const QSignalSpy& spy)
{
    std::vector<std::string> out;
    for (const QList<QVariant>& arguments : spy)
        out.push_back(arguments.at(0).value<KSR::SRData>().text);
    return out;
}

// Runs the script once and returns the hypotheses emitted.
std::vector<std::string> run(ScriptedInterface& iface)
{
    K_SRInterface::registerKSRTypes();
    QSignalSpy hypotheses(&iface, &K_SRInterface::hypothesisResult);
    iface.start();
    EXPECT_TRUE(waitFor([&] { return iface.workerThread()->isFinished(); }));
    iface.stop();
    return texts(hypotheses);
}

}  // namespace

TEST(HypothesisFilter, TheFirstHypothesisOfAGrammarPassesAndItsRepeatsDoNot)
{
    HypothesisFilter filter;
    EXPECT_TRUE(filter.pass(kOpen));
    EXPECT_FALSE(filter.pass(kOpen));
    filter.chunkEnded();
    EXPECT_FALSE(filter.pass(kOpen));
}

TEST(HypothesisFilter, AChangedTextOrIdPasses)
{
    HypothesisFilter filter;
    EXPECT_TRUE(filter.pass(kOpen));
    EXPECT_TRUE(filter.pass(kClose));
    KSR::SRData otherRule = kClose;
    otherRule.ruleId = 11;
    EXPECT_TRUE(filter.pass(otherRule));
    KSR::SRData otherCommand = otherRule;
    otherCommand.commandId = 5;
    EXPECT_TRUE(filter.pass(otherCommand));
    EXPECT_FALSE(filter.pass(otherCommand));
}

// The command and the dictation recognizer report in turn, each repeating
// itself: each grammar keeps its own memory.
TEST(HypothesisFilter, EachGrammarHasItsOwnMemory)
{
    HypothesisFilter filter;
    EXPECT_TRUE(filter.pass(kOpen));
    EXPECT_TRUE(filter.pass(kDictated));
    filter.chunkEnded();
    EXPECT_FALSE(filter.pass(kOpen));
    EXPECT_FALSE(filter.pass(kDictated));
    EXPECT_TRUE(filter.pass(kDictatedMore));
}

TEST(HypothesisFilter, TheEndOfAnUtteranceForgetsEverything)
{
    HypothesisFilter filter;
    EXPECT_TRUE(filter.pass(kOpen));
    EXPECT_TRUE(filter.pass(kDictated));
    filter.utteranceEnded();
    EXPECT_TRUE(filter.pass(kOpen));
    EXPECT_TRUE(filter.pass(kDictated));
}

// A chunk without a hypothesis of a grammar ends that grammar's run of
// repeats: the same text later is news again.
TEST(HypothesisFilter, AChunkThatDidNotRepeatAGrammarForgetsIt)
{
    HypothesisFilter filter;
    EXPECT_TRUE(filter.pass(kOpen));
    EXPECT_TRUE(filter.pass(kDictated));
    filter.chunkEnded();
    EXPECT_FALSE(filter.pass(kDictated));
    filter.chunkEnded();  // no "open file" in this chunk
    EXPECT_TRUE(filter.pass(kOpen));
    EXPECT_FALSE(filter.pass(kDictated));
}

TEST(HypothesesOnChange, OffByDefaultEveryHypothesisIsEmitted)
{
    ScriptedInterface iface;
    EXPECT_FALSE(iface.hypothesisOnChangeOnly());
    for (int i = 0; i < 50; ++i)
        iface.chunks.push_back({kOpen});
    EXPECT_EQ(run(iface).size(), 50U);
}

TEST(HypothesesOnChange, OnARepeatedHypothesisIsEmittedOnce)
{
    ScriptedInterface iface;
    iface.setHypothesisOnChangeOnly(true);
    EXPECT_TRUE(iface.hypothesisOnChangeOnly());
    for (int i = 0; i < 50; ++i)
        iface.chunks.push_back({kDictated, kOpen});
    for (int i = 0; i < 30; ++i)
        iface.chunks.push_back({kDictatedMore, kOpen});
    EXPECT_EQ(run(iface), (std::vector<std::string>{"hello", "open file", "hello world"}));
}

// After a result the next utterance's hypotheses are new, even when they
// repeat the last one.
TEST(HypothesesOnChange, OnEachUtteranceReportsItsHypothesesAgain)
{
    ScriptedInterface iface;
    iface.setHypothesisOnChangeOnly(true);
    const KSR::SRData result{101, 10, -2, "open file"};
    for (int utterance = 0; utterance < 3; ++utterance) {
        for (int i = 0; i < 20; ++i)
            iface.chunks.push_back({kOpen});
        iface.chunks.push_back({result});
    }
    EXPECT_EQ(run(iface), (std::vector<std::string>{"open file", "open file", "open file"}));
}
