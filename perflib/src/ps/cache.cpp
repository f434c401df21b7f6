#include "cache.h"

psString psCacheIterator::information()
{
    psString s;
    s << " Cache placement " << getName() << ": " << comment() << "\n";
    return s;
}
