#ifndef KSR_EXPORT_H
#define KSR_EXPORT_H

// KSR_EXPORT marks the classes and functions that form the module's boundary.
// Building the shared library defines KSR_BUILDING_LIBRARY; a static build of
// the module (Windows test programs) defines KSR_STATIC.
#if defined(KSR_STATIC)
#  define KSR_EXPORT
#elif defined(_WIN32)
#  if defined(KSR_BUILDING_LIBRARY)
#    define KSR_EXPORT __declspec(dllexport)
#  else
#    define KSR_EXPORT __declspec(dllimport)
#  endif
#else
#  define KSR_EXPORT __attribute__((visibility("default")))
#endif

#endif
