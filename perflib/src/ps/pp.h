// Everything a library-function test module needs: the library's core types when
// its header is present, the test base class, the data vectors and the function
// name descriptor.
#ifndef PP_H
#define PP_H

#if __has_include(<lumcore.h>)
#include <lumcore.h>
#endif

#include "ppfunc.h"
#include "pptest.h"
#include "ppvector.h"

#endif
