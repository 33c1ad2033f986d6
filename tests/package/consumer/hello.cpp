// A minimal module built with tw_add_plugin: it links tw::varlib and exports C names.
#include <tw_varlib.h>

extern "C" __attribute__((visibility("default"))) int HelloProbe() {
    CString text(u"hello");
    return text.GetLength();
}
