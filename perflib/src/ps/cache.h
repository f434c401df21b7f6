// psCacheIterator: the in-cache / out-of-cache placement parameter of a test (-C).
// It steps through placements of the test's data and stands for its own size
// parameter when the session selects the common parameters. A test that has none
// cannot run in the -C mode; the base class here places everything in one pass.
#ifndef PS_CACHE_H
#define PS_CACHE_H

#include "parameter.h"

class psCacheIterator : public psParameter {
public:
    explicit psCacheIterator(const psString& name = psString(), const psString& prompt = psString())
        : psParameter(name, prompt)
    {}

    // The parameter giving the data size the placement is computed for, or null.
    virtual psParameter* sizeParameter() { return nullptr; }
    // Releases what the placement set up for one run.
    virtual void release() {}
    // Whether the current combination's data fits the current placement.
    virtual bool validPlacement() { return true; }
    // Asks for the current placement again with a smaller repeat; false when it cannot shrink.
    virtual bool repeatValue() { return false; }
    // Short note for the result line and the table's comment cell.
    virtual psString comment() { return psString(); }
    // Several lines describing the placement, printed when it fails.
    virtual psString information();
};

#endif
