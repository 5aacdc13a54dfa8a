// A shared library that exports no registerExtension: the manager skips it.
#include <QtGlobal>

extern "C" Q_DECL_EXPORT int kenroTestNoEntry()
{
    return 42;
}
