/* A kit's defect correction in C: bad pixels take the value of their left neighbour. Built as QxCorrection.dll with
 * QxCorrection.def. */

#include <qxkit_c.h>

static void append(qxkit_list* list, int32_t value) {
    if (list->count < list->capacity)
        list->values[list->count++] = value;
}

static void split(const qxkit_list* set, int32_t end, qxkit_list* valid, qxkit_list* rest) {
    int i;
    for (i = 0; i < set->count; ++i)
        append(set->values[i] < end ? valid : rest, set->values[i]);
}

int qxkit_splitDefects(int width, int height, const qxkit_defects* set, qxkit_defects* valid, qxkit_defects* rest) {
    split(&set->points, width * height, &valid->points, &rest->points);
    split(&set->clusters, width * height, &valid->clusters, &rest->clusters);
    split(&set->rows, height, &valid->rows, &rest->rows);
    split(&set->columns, width, &valid->columns, &rest->columns);
    return 0;
}

int qxkit_correctDefects(float* image, int width, int height, const qxkit_defects* set, int option) {
    int i;
    (void)option;
    for (i = 0; i < set->points.count; ++i) {
        const int32_t pixel = set->points.values[i];
        if (pixel > 0 && pixel < width * height)
            image[pixel] = image[pixel - 1];
    }
    return 0;
}
