// Aligned allocation of test buffers. Every block a test hands to a measured
// function comes from psMalloc, which places it at a chosen alignment (or
// misalignment) and keeps a record of it, so that a measurement never depends on
// where the system allocator happened to put the data. The unit also keeps the
// session-wide vector placement settings that psTest::allocate applies.
#ifndef PS_MEMORY_H
#define PS_MEMORY_H

const int PS_ALIGN_DEF = 64;

// The alignment unit of every block; m must be a power of two.
void psSetAlignMax(int m);
int psGetAlignMax();

// A block of size bytes at the given alignment offset and shift (see memory.cpp),
// tagged with an owner (null for ordinary use); null when memory is exhausted.
void* psMalloc(int size, int align, int shift, void* owner);
void* psMalloc(void*& out, int size, int align, int shift);
// Returns a block obtained from psMalloc; unknown pointers and null are ignored.
void psFree(void* p);
// Forgets every record (the blocks themselves stay); returns 0.
int psFreeAll();
// 1 and the size and owner of a handed-out pointer on record, else 0.
int psMallocInfo(void* p, int* size, long long* owner);
// Walk the records in allocation order; null at the end.
void* psMallocFirst(int* size, void** owner);
void* psMallocNext(int* size, void** owner);
// Number of blocks on record.
int psMallocCount();

// Vector placement settings.
void psSetVectorAlign(int a);  // stored modulo the alignment unit
int psGetVectorAlign();
void psSetVectorShift(int s);
int psGetVectorShift();
void psSetAlignSrc(bool b);
bool psGetAlignSrc();
void psSetAlignByByte(bool b);
bool psGetAlignByByte();

#endif
