#include "sapi/sapi_event.h"

namespace KSR {

void freeEventParameter(SPEVENT& event)
{
    switch (event.elParamType) {
    case SPET_LPARAM_IS_TOKEN:
    case SPET_LPARAM_IS_OBJECT:
        if (event.lParam)
            reinterpret_cast<IUnknown*>(event.lParam)->Release();
        break;
    case SPET_LPARAM_IS_POINTER:
    case SPET_LPARAM_IS_STRING:
        CoTaskMemFree(reinterpret_cast<void*>(event.lParam));
        break;
    default:
        break;
    }
    event.elParamType = SPET_LPARAM_IS_UNDEFINED;
    event.lParam = 0;
}

}  // namespace KSR
