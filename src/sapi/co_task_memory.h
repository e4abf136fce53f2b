#ifndef KSR_SAPI_CO_TASK_MEMORY_H
#define KSR_SAPI_CO_TASK_MEMORY_H

#include <memory>

#include "ksr_sapi_com.h"

namespace KSR {

// A block that a COM call allocated with CoTaskMemAlloc and handed to us
// (a phrase, a text, a token id); freed with CoTaskMemFree when it goes.
struct CoTaskMemDeleter {
    void operator()(void* block) const noexcept { CoTaskMemFree(block); }
};
template <class T>
using CoTaskMemPtr = std::unique_ptr<T, CoTaskMemDeleter>;

}  // namespace KSR

#endif
