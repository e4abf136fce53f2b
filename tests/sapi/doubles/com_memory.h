#ifndef KSR_TESTS_SAPI_COM_MEMORY_H
#define KSR_TESTS_SAPI_COM_MEMORY_H

#include <cstddef>

namespace SapiFakes {

// Counts the CoTaskMemAlloc blocks in use while it lives (on Windows through
// an IMallocSpy registered with COM, elsewhere from the stand-in runtime),
// so a test can check that every block SAPI handed out was freed.
class TaskMemoryWatch {
public:
    TaskMemoryWatch();
    ~TaskMemoryWatch();
    TaskMemoryWatch(const TaskMemoryWatch&) = delete;
    TaskMemoryWatch& operator=(const TaskMemoryWatch&) = delete;

    // Blocks allocated since the watch started and not yet freed.
    std::size_t blocksInUse() const;

private:
    std::size_t m_baseline = 0;
};

}  // namespace SapiFakes

#endif
