#include "dcmodule.h"

#include "memory.h"
#include "table.h"

void dcSetValues(psIterator<int>& parm, const char* name, std::initializer_list<int> values)
{
    parm.reset();
    parm.setName(name);
    parm.setPrompt("");
    for (int v : values) parm.add(v);
}

void dcLengthToOstrm(const char* label, int len) { g_ostrm << label << len << " "; }

void dcLengthToCstrm(int len)
{
    psString cell;
    cell << len;
    g_cstrm.setNextColm(cell);
}

bool dcCoderData::load()
{
    const int n = g_codeLen.value();
    maxSrcLen = maxDstLen = 2 * n;
    if (!src.create(maxSrcLen) || !dst.create(maxDstLen)) return false;
    len = dcLoadDataFile(src.data(), n, &g_codeLen);
    return len >= 1;
}

bool dcCoderData::allocState(int size)
{
    pState = psMalloc(size, 0, 0, nullptr);
    return pState != nullptr;
}

void dcCoderData::release()
{
    src.deleteData();
    dst.deleteData();
    psFree(pState);
    pState = nullptr;
    expected.clear();
}

int dcHuffSymbols(const Lum8u* bytes, int n, Lum16u* symbols)
{
    int m = 0;
    for (int i = 0; i < n; ++i) {
        const int v = bytes[i];
        symbols[i] = static_cast<Lum16u>(v);
        if (v > m) {
            symbols[i] = static_cast<Lum16u>(v - 1);
            m = v;
        }
    }
    if (n > 0) symbols[n - 1] = static_cast<Lum16u>(m);
    return m;
}
