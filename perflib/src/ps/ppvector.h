// ppVector: a typed test data vector. Its memory comes from the running test's
// allocator (aligned and shifted as the session asks), it is filled with zeros, a
// constant, pseudo-random values or the Jaehne signal, it can keep a pristine
// copy of its contents for the Set&Use timing mode, and it prints itself at the
// data message level.
#ifndef PP_VECTOR_H
#define PP_VECTOR_H

#include "psstring.h"
#include "streams.h"

enum ppType {
    pp8u = 8,
    pp8s = 9,
    pp16u = 16,
    pp16s = 17,
    pp32u = 32,
    pp32s = 33,
    pp32f = 34,
    pp64u = 64,
    pp64s = 65,
    pp64f = 66
};

enum ppFill {
    ppFillZero,    // all elements 0
    ppFillConst,   // all elements equal to the first bound
    ppFillRandom,  // uniform in [lo, hi]; lo = hi = 0 means the type's range ([-1, 1] for floats)
    ppFillJaehne   // sin(pi/2 * n^2 / len), scaled to the type (amplitude lo when not 0)
};

class ppVector : public psObject {
public:
    explicit ppVector(ppType type = pp8u) : m_type(type) {}
    ~ppVector() override;
    ppVector(const ppVector&) = delete;
    ppVector& operator=(const ppVector&) = delete;

    void setType(ppType type) { m_type = type; }
    ppType type() const { return m_type; }
    int elementSize() const { return typeSize(m_type); }
    psString typeName() const { return typeName(m_type); }

    // Replaces the data with len elements filled as asked; false when memory is short.
    bool create(int len, ppFill fill = ppFillZero, double lo = 0, double hi = 0, unsigned seed = 1);
    void deleteData();

    void* data() const { return m_data; }
    template <class T>
    T* ptr() const { return static_cast<T*>(m_data); }
    int length() const { return m_len; }
    int bytes() const { return m_len * elementSize(); }
    // Element i as a double (for checks and printing).
    double get(int i) const;
    void set(int i, double v);

    // Pristine copy for Set&Use: reserve keeps the contents, setReservedCopy restores them.
    int objectSize() override { return bytes(); }
    bool reserveCopy() override;
    bool setReservedCopy() override;
    void deleteReservedCopy() override;
    psString objectInfo() override;

    // Writes the title, the type, the length and up to maxItems elements at the data level.
    void print(const psString& title, int maxItems = 64) const;

    static int typeSize(ppType t);
    static psString typeName(ppType t);
    static bool typeFromName(const psString& name, ppType& t);
    static bool isFloatType(ppType t) { return t == pp32f || t == pp64f; }

private:
    void fill(ppFill how, double lo, double hi, unsigned seed);

    ppType m_type;
    void* m_data = nullptr;
    int m_len = 0;
    void* m_copy = nullptr;
};

#endif
