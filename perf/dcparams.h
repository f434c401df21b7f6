// The three parameters all data-compression modules share (the Huffman input
// length, the data length and the corpus file) and the rule by which a module
// loads a corpus file into its source buffer.
#ifndef DC_PARAMS_H
#define DC_PARAMS_H

#include "iterators.h"

extern psStepIterator<int> g_huffLen;   // "HuffLength": 1024 .. 32768, *2
extern psStepIterator<int> g_codeLen;   // "CodeLength": 16384 .. 262144, *2
extern psFileIterator g_codeFile;       // "CodeFile": the fourteen Calgary corpus files

// Resets a length parameter to the progression lower, 2 * lower, ... up to upper,
// under the given name with an empty description.
void dcSetProgression(psStepIterator<int>& p, const char* name, int lower, int upper);

// Registers the three parameters as common ones and gives them their values.
void regTestParameters();

// Reads at most `wanted` bytes of the current "CodeFile" (looked up in the input
// directory) into dst and returns the data length; 0 means the parameter set is
// passed over. With lengthParm (a multiplicative progression), a length above the
// lower bound also needs more than wanted / step bytes, so that a short file is not
// measured again and again at its own length under a larger label.
int dcLoadDataFile(void* dst, int wanted, const psStepIterator<int>* lengthParm = nullptr);

#endif
