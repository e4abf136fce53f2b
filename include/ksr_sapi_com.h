#ifndef KSR_SAPI_COM_H
#define KSR_SAPI_COM_H

// The COM and Speech API declarations the SAPI back end is written against:
// the Windows SDK's own headers on Windows, and elsewhere the project's
// stand-in, which declares the same subset with the same names, signatures
// and values (src/sapi/standin). Every SAPI source includes this header and
// nothing else of COM.

#include <string>

#if defined(_WIN32)
#  ifndef NOMINMAX
#    define NOMINMAX
#  endif
#  ifndef WIN32_LEAN_AND_MEAN
#    define WIN32_LEAN_AND_MEAN
#  endif
#  include <windows.h>
#  include <objbase.h>
#  include <sapi.h>
#else
#  include "sapi/standin/sapi_standin.h"
#endif

namespace KSR {

// Text as COM wants it: UTF-16 code units in WCHAR.
using WideString = std::basic_string<WCHAR>;

}  // namespace KSR

#endif
