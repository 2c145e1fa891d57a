// Visibility of the public interface: everything a host or a class library
// links against carries ZEM_API; the rest of libzem stays hidden.
#pragma once

#if defined(_WIN32)
#  define ZEM_API
#else
#  define ZEM_API __attribute__((visibility("default")))
#endif
