// The title line of the performance table and the parameter-name table. The
// title fixes how many cells every later line has: the function and parameter
// cells (psTest::m_numParmsColm) and the result cells (psTest::m_numResultColm).
#ifndef PS_TABLETITLE_H
#define PS_TABLETITLE_H

#include "table.h"

enum { PS_TITLE_PARMS = 8 };

// The three groups of title cells; the session's overridable title steps call these.
void psFuncTitleToCStream(psCStream& c);    // "function"
void psParmsTitleToCStream(psCStream& c);   // "Parm1" .. "Parm8"
void psResultTitleToCStream(psCStream& c);  // "Comment" .. "MFlops", and "Interest" with -H

// Builds the title line in g_cstrm through the session's steps (the plain cells when
// there is no session), sets the two column counts and writes the line.
void psPutTableTitleLine();
// Writes the title line to the performance table and, when a name file was asked
// for (-q<file>), to the name table as well.
void psPutTableTitle();

// While it lives, lines written to g_cstrm go to the name table's files: the sink
// lists of g_cstrm and g_qstrm are exchanged, and exchanged back at the end.
class psNameTableScope {
public:
    psNameTableScope();
    ~psNameTableScope();
    psNameTableScope(const psNameTableScope&) = delete;
    psNameTableScope& operator=(const psNameTableScope&) = delete;
};

#endif
