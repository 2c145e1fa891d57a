// Visibility of the public interface: everything a host or a class library
// links against carries ZEM_API; the rest of libzem stays hidden. On Windows
// the library's own build exports these names from the DLL and everyone else
// imports them.
#pragma once

#if defined(_WIN32)
#  if defined(ZEM_BUILDING_LIBRARY)
#    define ZEM_API __declspec(dllexport)
#  else
#    define ZEM_API __declspec(dllimport)
#  endif
#elif defined(__GNUC__)
#  define ZEM_API __attribute__((visibility("default")))
#else
#  define ZEM_API
#endif
