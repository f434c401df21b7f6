// The title line of the performance table and the parameter-name table. The
// title fixes how many cells every later line has: the function and parameter
// cells (psTest::m_numParmsColm) and the result cells (psTest::m_numResultColm).
#ifndef PS_TABLETITLE_H
#define PS_TABLETITLE_H

#include "table.h"

#include <functional>

enum { PS_TITLE_PARMS = 8 };

// The three groups of title cells, the plain steps.
void psFuncTitleToCStream(psCStream& c);    // "function"
void psParmsTitleToCStream(psCStream& c);   // "Parm1" .. "Parm8"
void psResultTitleToCStream(psCStream& c);  // "Comment" .. "MFlops", and "Interest" with -H

// The steps that write the three groups of title cells into g_cstrm; a session
// hands down its own overridable steps.
struct psTableTitleSteps {
    std::function<void()> funcTitle;
    std::function<void()> parmsTitle;
    std::function<void()> resultTitle;
};

// Builds the title line in g_cstrm through the steps (the plain cells without them),
// sets the two column counts and writes the line.
void psPutTableTitleLine(const psTableTitleSteps* steps = nullptr);
// Writes the title line (through titleLine, the plain line without one) to the
// performance table and, when a name file was asked for (-q<file>), to the name
// table as well.
void psPutTableTitle(const std::function<void()>& titleLine = nullptr);

#endif
