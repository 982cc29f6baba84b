/* Measures the SNR of a flat field that it makes up, grades it against a factory series and tells what a check
 * measured. Plain C, so that the same lines serve as a pattern for other languages. */

#include <qxutils_c.h>

#include <stdio.h>
#include <stdlib.h>

enum { kSide = 1024, kSeries = 32 };

/* The sum of twelve uniform numbers is close to normal. */
static int noise(void) {
    int sum = 0;
    int i;
    for (i = 0; i < 12; ++i)
        sum += rand() % 201 - 100;
    return sum;
}

int main(void) {
    uint16_t* const image = (uint16_t*)malloc(sizeof *image * kSide * kSide);
    float snr[kSeries] = {0};
    float factory[kSeries] = {0};
    static qx_surface_fit_result grade;
    qx_check_measures taken;
    int status;
    int i;
    if (image == NULL || qx_interface_version() < QX_INTERFACE_VERSION)
        return 2;
    for (i = 0; i < kSide * kSide; ++i)
        image[i] = (uint16_t)(52000 + noise());

    status = qx_calcGlobalSNR(image, kSide, kSide, snr, kSeries);
    for (i = 0; status == 0 && i < kSeries && snr[i] > 0; ++i) {
        printf("square %d: SNR %.1f\n", i, snr[i]);
        factory[i] = snr[i] * 0.99f;
    }
    if (status == 0)
        status = qx_measureUniform(image, kSide, kSide, &taken);
    if (status != 0) {
        fprintf(stderr, "%d: %s\n", status, qx_status_message(status));
        return 2;
    }
    printf("%s: %g, limit %g\n", taken.measures[0].name, taken.measures[0].value, taken.measures[0].limit);
    qx_evaluateSNRResult(image, kSide, kSide, factory, kSeries, &grade);
    printf("%d: %s\n", grade.evaluation, qx_status_message(grade.evaluation));
    free(image);
    return grade.evaluation == 1092;
}
