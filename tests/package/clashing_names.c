/* Functions of a host under names that our libraries export, most without a prefix, as many
 * programs have an xfree of their own. The libraries call theirs, never these. */
#include <stdio.h>
#include <stdlib.h>

#define NOT_OURS(name)                                \
  void name(void);                                    \
  void name(void) {                                   \
    fputs(#name " of the host was called\n", stderr); \
    abort();                                          \
  }

NOT_OURS(xcreate)
NOT_OURS(xcreated)
NOT_OURS(xfree)
NOT_OURS(XCreate)
NOT_OURS(XCreateD)
NOT_OURS(XFree)
NOT_OURS(C__zxfSetLoadPath)
NOT_OURS(CzmiM)
NOT_OURS(CzmiN)
NOT_OURS(zmiXFree)
