#include "tabletitle.h"

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

void psPutTableTitleLine(const psTableTitleSteps* steps)
{
    if (steps) {
        steps->funcTitle();
        steps->parmsTitle();
    } else {
        psFuncTitleToCStream(g_cstrm);
        psParmsTitleToCStream(g_cstrm);
    }
    psTest::m_numParmsColm = g_cstrm.cursor();
    if (steps)
        steps->resultTitle();
    else
        psResultTitleToCStream(g_cstrm);
    psTest::m_numResultColm = g_cstrm.cursor() - psTest::m_numParmsColm;
    g_cstrm.lineOut(0);
}

void psPutTableTitle(const std::function<void()>& titleLine)
{
    auto line = [&titleLine] {
        if (titleLine)
            titleLine();
        else
            psPutTableTitleLine();
    };
    line();
    if (psTest::m_nameMode & 2) {
        psNameTableScope names;
        line();
    }
}
