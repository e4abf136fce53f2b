#include "sapi/result_code.h"

#include <cstdint>
#include <cstdio>

namespace KSR {

std::string resultCodeText(HRESULT result)
{
    char text[16];
    std::snprintf(text, sizeof(text), "%lx",
                  static_cast<unsigned long>(static_cast<std::uint32_t>(result)));
    return text;
}

}  // namespace KSR
