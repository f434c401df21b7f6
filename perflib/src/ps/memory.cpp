#include "memory.h"

#include "pslist.h"
#include "streams.h"

#include <cstdint>
#include <cstdlib>

static int PS_ALIGN_MAX = PS_ALIGN_DEF;
static int ALIGN_BYTES = PS_ALIGN_DEF;
static int ALIGN_MASK = -PS_ALIGN_DEF;

static int VectorAlign = 0;
static int VectorShift = 512;
static bool AlignSrc = true;
static bool AlignByByte = true;

// The raw address lives in the word this many bytes before the aligned base.
static const int RAW_OFFSET = 128;

namespace {

struct Address {
    int size;
    char* base;
    char* ptr;
    void* owner;
    bool operator==(const Address& o) const { return ptr == o.ptr; }
};

class AddressList : public psList<Address> {
public:
    iterator find(void* p)
    {
        for (iterator it = begin(); it != end(); ++it)
            if (it->ptr == p) return it;
        return end();
    }
};

AddressList* pAddressList = nullptr;

void allocationFailed(int size)
{
    g_ostrm << ERR << "-- Memory error: can't allocate " << size << " bytes\n" << END_MSG;
}

void traceBlock(const char* what, const Address* a, void* p)
{
    if (!g_ostrm.accepts(MEMORY)) return;
    g_ostrm << MEMORY << what;
    if (a) g_ostrm << "size:" << a->size << "  address:" << static_cast<const void*>(a->base);
    g_ostrm << "  alignedPointer:" << static_cast<const void*>(p) << "\n" << END_MSG_FLUSH;
}

void* recordOf(Address* a, int* size, void** owner)
{
    if (!a) return nullptr;
    if (size) *size = a->size;
    if (owner) *owner = a->owner;
    return a->ptr;
}

}  // namespace

void psSetAlignMax(int m)
{
    PS_ALIGN_MAX = m;
    ALIGN_BYTES = m;
    ALIGN_MASK = -m;
}

int psGetAlignMax() { return PS_ALIGN_MAX; }

// The aligned base lies at least 128 bytes into the raw block, on an M boundary.
// The handed-out pointer is (base + shift + M - 1) & (a - M): with a = 0 that
// rounds base + shift up to the next multiple of M; with 0 < a < M and a shift
// that is a multiple of M it is base + shift + a.
void* psMalloc(int size, int align, int shift, void* owner)
{
    const int M = PS_ALIGN_MAX;
    const int a = align % M;
    long long request = static_cast<long long>(a) + 2LL * M + size + 256 + shift;
    char* raw = request > 0 ? static_cast<char*>(std::malloc(static_cast<size_t>(request))) : nullptr;
    if (!raw) {
        allocationFailed(size);
        return nullptr;
    }
    uintptr_t base = (reinterpret_cast<uintptr_t>(raw) + ALIGN_BYTES + RAW_OFFSET) & static_cast<uintptr_t>(static_cast<intptr_t>(ALIGN_MASK));
    uintptr_t p = (base + shift + M - 1) & static_cast<uintptr_t>(static_cast<intptr_t>(a - M));
    if (!base || !p) {
        std::free(raw);
        allocationFailed(size);
        return nullptr;
    }
    reinterpret_cast<char**>(base - RAW_OFFSET)[0] = raw;
    if (!pAddressList) pAddressList = new AddressList;
    Address rec{size, reinterpret_cast<char*>(base), reinterpret_cast<char*>(p), owner};
    pAddressList->add(rec);
    traceBlock(" - psMalloc: ", &rec, rec.ptr);
    return rec.ptr;
}

void* psMalloc(void*& out, int size, int align, int shift)
{
    out = psMalloc(size, align, shift, nullptr);
    return out;
}

void psFree(void* p)
{
    if (!pAddressList) return;
    AddressList::iterator it = pAddressList->find(p);
    bool known = it != pAddressList->end();
    if (p) traceBlock(" - psFree: ", known ? &*it : nullptr, p);
    if (!known) return;
    char* base = it->base;
    pAddressList->erase(it);
    std::free(reinterpret_cast<char**>(base - RAW_OFFSET)[0]);
}

int psFreeAll()
{
    delete pAddressList;
    pAddressList = nullptr;
    return 0;
}

int psMallocInfo(void* p, int* size, long long* owner)
{
    if (!pAddressList || !p) return 0;
    AddressList::iterator it = pAddressList->find(p);
    if (it == pAddressList->end()) return 0;
    if (size) *size = it->size;
    if (owner) *owner = static_cast<long long>(reinterpret_cast<intptr_t>(it->owner));
    return 1;
}

void* psMallocFirst(int* size, void** owner)
{
    return pAddressList ? recordOf(pAddressList->first(), size, owner) : nullptr;
}

void* psMallocNext(int* size, void** owner)
{
    return pAddressList ? recordOf(pAddressList->next(), size, owner) : nullptr;
}

int psMallocCount() { return pAddressList ? pAddressList->count() : 0; }

void psSetVectorAlign(int a) { VectorAlign = a % PS_ALIGN_MAX; }
int psGetVectorAlign() { return VectorAlign; }
void psSetVectorShift(int s) { VectorShift = s; }
int psGetVectorShift() { return VectorShift; }
void psSetAlignSrc(bool b) { AlignSrc = b; }
bool psGetAlignSrc() { return AlignSrc; }
void psSetAlignByByte(bool b) { AlignByByte = b; }
bool psGetAlignByByte() { return AlignByByte; }
