#include "tabletitle.h"

#include "session.h"
#include "test.h"

void psFuncTitleToCStream(psCStream& c) { c << "function"; }

void psParmsTitleToCStream(psCStream& c)
{
    for (int i = 1; i <= PS_TITLE_PARMS; ++i) {
        psString cell("Parm");
        cell << i;
        c << cell;
    }
}

void psResultTitleToCStream(psCStream& c)
{
    c << "Comment" << "Clocks" << "per" << "Time (usec)" << "MFlops";
    if (psTest::m_hot) c << "Interest";
}

void psPutTableTitleLine()
{
    psSession* s = psGetSession();
    if (s) {
        s->funcTitleToCStream();
        s->parmsTitleToCStream();
    } else {
        psFuncTitleToCStream(g_cstrm);
        psParmsTitleToCStream(g_cstrm);
    }
    psTest::m_numParmsColm = g_cstrm.cursor();
    if (s)
        s->resultTitleToCStream();
    else
        psResultTitleToCStream(g_cstrm);
    psTest::m_numResultColm = g_cstrm.cursor() - psTest::m_numParmsColm;
    g_cstrm.lineOut(0);
}

void psPutTableTitle()
{
    psSession* s = psGetSession();
    auto titleLine = [s] {
        if (s)
            s->putTableTitleLine();
        else
            psPutTableTitleLine();
    };
    titleLine();
    if (psSession::m_nameMode & 2) {
        psNameTableScope names;
        titleLine();
    }
}

psNameTableScope::psNameTableScope() { g_cstrm.swapTable(g_qstrm); }

psNameTableScope::~psNameTableScope() { g_cstrm.swapTable(g_qstrm); }
