/* Velmor.h as a C89 host sees it: compiled with -std=c89 -pedantic-errors
 * in both the i686 and the x86_64 build, so its layout checks run for 32
 * and 64 bits. */
#include "editor/Velmor.h"

int VelmorHeaderIsC89(void)
{
    VELMORTEXT text;
    wchar_t buf[4];
    VELMOR_BUFFER(text, buf, 4);
    return (int)text.cchMax;
}
