#ifndef KSR_SAPI_STANDIN_COM_RUNTIME_CONTROL_H
#define KSR_SAPI_STANDIN_COM_RUNTIME_CONTROL_H

// What the stand-in COM runtime can tell a test about itself, beyond the
// Windows API it reproduces.

#include <cstddef>

namespace ComStandin {

// Blocks from CoTaskMemAlloc (and SysAllocString) not yet freed.
std::size_t taskMemoryBlocksInUse();
// Event handles created and not yet closed.
std::size_t openHandles();
// Class objects registered with CoRegisterClassObject and not yet revoked.
std::size_t registeredClasses();
// CoInitializeEx calls on the calling thread not yet matched by CoUninitialize.
int comInitializationDepth();

}  // namespace ComStandin

#endif
