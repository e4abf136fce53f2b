#ifndef KSR_SAPI_RESULT_CODE_H
#define KSR_SAPI_RESULT_CODE_H

#include <string>

#include "ksr_sapi_com.h"

namespace KSR {

// A COM result code as the error lines show it after "(Error code:": the
// 32 bits in lower-case hexadecimal without prefix, e.g. "80004005".
std::string resultCodeText(HRESULT result);

}  // namespace KSR

#endif
