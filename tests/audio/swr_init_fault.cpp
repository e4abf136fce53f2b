#include "swr_init_fault.h"

#include <dlfcn.h>

#include <mutex>

extern "C" {
#include <libavutil/error.h>
#include <libswresample/swresample.h>
}

namespace SwrInitFault {

namespace {

struct Fault {
    std::mutex mutex;
    int remaining = 0;
    int error = 0;
    int calls = 0;
};

Fault& fault()
{
    static Fault f;
    return f;
}

}  // namespace

void failNext(int count, int error)
{
    std::lock_guard<std::mutex> lock(fault().mutex);
    fault().remaining = count;
    fault().error = error;
}

int calls()
{
    std::lock_guard<std::mutex> lock(fault().mutex);
    return fault().calls;
}

}  // namespace SwrInitFault

extern "C" int swr_init(SwrContext* context)
{
    {
        SwrInitFault::Fault& f = SwrInitFault::fault();
        std::lock_guard<std::mutex> lock(f.mutex);
        ++f.calls;
        if (f.remaining > 0) {
            --f.remaining;
            return f.error;
        }
    }
    using Init = int (*)(SwrContext*);
    static const Init library = reinterpret_cast<Init>(dlsym(RTLD_NEXT, "swr_init"));
    return library ? library(context) : AVERROR(ENOSYS);
}
