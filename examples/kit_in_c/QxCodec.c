/* A kit's codec in C. Built as QxCodec.dll with QxCodec.def. */

#include <qxkit_c.h>

void reverseCopy(void* destination, const void* source, int count) {
    char* to = destination;
    const char* from = source;
    int i;
    for (i = 0; i < count; ++i)
        to[i] = from[count - 1 - i];
}
