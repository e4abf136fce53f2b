#ifndef KSR_TESTS_AUDIO_SWR_INIT_FAULT_H
#define KSR_TESTS_AUDIO_SWR_INIT_FAULT_H

// libswresample accepts every set-up the capture code can ask for, so its
// refusal is made on demand: a program that links swr_init_fault.cpp has its
// own swr_init, which fails as often as told and otherwise hands the call on
// to libswresample's.

namespace SwrInitFault {

// The next `count` swr_init calls return `error` (a negative AVERROR code).
void failNext(int count, int error);
// swr_init calls made so far, failed ones included.
int calls();

}  // namespace SwrInitFault

#endif
