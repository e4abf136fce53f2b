#include "vosk/held_dictation.h"

namespace Vosk {

void HeldDictation::hold(const std::string& text, KSR::RecognitionState state, long long now)
{
    if (m_state == State::Idle) {
        m_state = State::Waiting;
        m_since = now;
    }
    m_items.push_back({text, state});
}

void HeldDictation::decide(Verdict verdict)
{
    if (m_state != State::Waiting)
        return;
    m_state = verdict == Verdict::Taken ? State::Taken : State::NotTaken;
}

HeldDictation::Items HeldDictation::settle(long long now)
{
    switch (m_state) {
    case State::Idle:
        return {};
    case State::Waiting:
        if (now - m_since <= m_limit)
            return {};
        break;
    case State::Taken:
        m_items.pop_front();
        break;
    case State::NotTaken:
        break;
    }
    return release();
}

HeldDictation::Items HeldDictation::release()
{
    Items out;
    out.swap(m_items);
    m_state = State::Idle;
    return out;
}

}  // namespace Vosk
