// Pieces the file-driven compression modules share: their registration, the
// measured length in front of the parameters on the console and in the table,
// and the buffers of the encoder/decoder pairs (LZO, LZSS).
#ifndef DC_MODULE_H
#define DC_MODULE_H

#include "dccheck.h"
#include "dckernels.h"
#include "dcparams.h"
#include "registry.h"
#include "table.h"

#include <initializer_list>

// Registers the test of one measured function whose kernel family (DC_KERNELS_I or
// DC_KERNELS) the module has declared; reg_<func> keeps what psRegTest returned.
#define DC_REG_TEST_I(Class, func, tag)                                                           \
    [[maybe_unused]] bool reg_##func = psRegTest(new Class(tcall_##func, tinit_##func,             \
                                                           tim_##func##_loop, tim_##func##_stat,   \
                                                           #func, __FILE__, tag)) != 0;
#define DC_REG_TEST(Class, func, tag)                                                             \
    [[maybe_unused]] bool reg_##func = psRegTest(new Class(tcall_##func, nullptr,                  \
                                                           tim_##func##_loop, tim_##func##_stat,   \
                                                           #func, __FILE__, tag)) != 0;

// A buffer from the test's allocator (placed as the session asks); false when
// memory is short.
template <class T>
bool dcAllocate(psTest* test, T*& p, int size)
{
    p = static_cast<T*>(test->allocate(size, -1));
    return p != nullptr;
}
template <class T>
void dcDeallocate(psTest* test, T*& p)
{
    test->deallocate(p);
    p = nullptr;
}

// Gives a module's own list parameter its name, an empty description and its values.
void dcSetValues(psIterator<int>& parm, const char* name, std::initializer_list<int> values);

// The console shows the bytes actually measured, as "<label><len> ".
void dcLengthToOstrm(const char* label, int len);
// The table shows them as the first parameter cell.
void dcLengthToCstrm(int len);

// Source and destination of an encoder/decoder pair, 2n bytes each for a
// "CodeLength" of n: the source holds the corpus data (and receives the decoded
// data), the destination the compressed data.
struct dcCoderData {
    ppVector src, dst;
    int len = 0;        // bytes read from the corpus file
    int maxSrcLen = 0;  // reset values of the length arguments
    int maxDstLen = 0;
    void* pState = nullptr;
    dcExpected expected;  // the corpus bytes the decoders must give back

    // Creates both vectors for the current "CodeLength" and loads the current file by
    // the repeated-length rule; false when the set is passed over.
    bool load();
    // Keeps a size-byte library work area; false when memory is short.
    bool allocState(int size);
    void release();
};

// The overrides the encoder/decoder modules share, on the module's own buffers: the
// buffers go back after each parameter set, results are clocks per byte of
// uncompressed data (for the decoders too), and the console shows the bytes measured
// as "length=" (without a leading blank) in front of the parameters.
template <dcCoderData& Data>
class dcCoderTest : public ppTest {
public:
    using ppTest::ppTest;

    void flushData() override { Data.release(); }
    double getDivisor() override { return Data.len; }
    psString getUnit() override { return "e"; }
    void parmsToOstrm() override
    {
        dcLengthToOstrm("length=", Data.len);
        psTest::parmsToOstrm();
    }
};

// The symbol stream of the BZ2 Huffman tests, made from n random bytes: each byte
// is a symbol, except that every new largest byte is written one lower, and the
// last symbol is the largest byte, which closes the stream. Returns that largest
// byte (0 when n < 1), the alphabet size the Huffman tables are built for.
int dcHuffSymbols(const Lum8u* bytes, int n, Lum16u* symbols);

#endif
