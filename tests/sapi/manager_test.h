#ifndef KSR_TESTS_SAPI_MANAGER_TEST_H
#define KSR_TESTS_SAPI_MANAGER_TEST_H

#include <memory>
#include <utility>
#include <vector>

#include "ksr_sapi_manager.h"
#include "sapi_test.h"

// A manager that records what reaches the three reporting operations, and
// still logs them as the manager does.
class RecordingManager : public KSR_Manager {
public:
    std::vector<KSR::SRData> recognitions;
    std::vector<KSR::SRData> hypotheses;
    int failures = 0;

protected:
    void processRecognition(KSR::SRData data) override
    {
        recognitions.push_back(data);
        KSR_Manager::processRecognition(data);
    }
    void processHypothesis(KSR::SRData data) override
    {
        hypotheses.push_back(data);
        KSR_Manager::processHypothesis(data);
    }
    void processRecognitionFailed() override
    {
        ++failures;
        KSR_Manager::processRecognitionFailed();
    }
};

class ManagerTest : public SapiTest {
protected:
    void TearDown() override
    {
        manager.reset();
        SapiTest::TearDown();
    }

    // Builds the manager, handles the events its set-up left queued and
    // starts the call log afresh.
    RecordingManager& build()
    {
        manager = std::make_unique<RecordingManager>();
        manager->setGrammarActivationFunction(
            [this](KSR::GrammarId id, bool on) { activations.emplace_back(id, on); });
        pump();
        clearCalls();
        log.clear();
        activations.clear();
        return *manager;
    }
    // Lets the engine handle every queued event.
    void pump()
    {
        if (manager && manager->engine())
            processAll(*manager->engine());
    }
    SapiFakes::FakeContext& context() { return *world.context(); }
    // Says words to the recognizer and lets the engine handle the events
    // SAPI makes of them; returns the event that ended the phrase.
    SPEVENTENUM say(const SapiFakes::Utterance& utterance)
    {
        const SPEVENTENUM ending = world.say(utterance);
        pump();
        return ending;
    }
    SPEVENTENUM say(const std::string& words, float confidence = 1.0f)
    {
        return say(SapiFakes::Utterance(words, confidence));
    }
    // A result no grammar of the manager's could give.
    void pushRecognition(SPEVENTENUM id, const SapiFakes::PhraseSpec& scripted)
    {
        auto result = SapiFakes::FakeResult::make(scripted);
        ASSERT_TRUE(context().pushResult(id, result.get()));
        pump();
    }

    std::unique_ptr<RecordingManager> manager;
    std::vector<std::pair<KSR::GrammarId, bool>> activations;
};

#endif
