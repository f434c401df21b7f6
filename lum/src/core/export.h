// Visibility of symbols shared between the lum libraries but not part of their public
// interface (the libraries are built with hidden visibility by default).
#ifndef LUM_CORE_EXPORT_H
#define LUM_CORE_EXPORT_H

#if defined(__GNUC__)
#define LUM_INTERNAL __attribute__((visibility("default")))
#else
#define LUM_INTERNAL
#endif

#endif
