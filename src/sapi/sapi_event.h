#ifndef KSR_SAPI_SAPI_EVENT_H
#define KSR_SAPI_SAPI_EVENT_H

#include "ksr_sapi_com.h"

namespace KSR {

// Frees what an event taken from GetEvents owns through its lParam, by the
// parameter's type: tokens and objects are released, pointers and strings
// freed with CoTaskMemFree, an undefined parameter needs nothing. The event
// is left empty (undefined parameter, no lParam).
void freeEventParameter(SPEVENT& event);

}  // namespace KSR

#endif
