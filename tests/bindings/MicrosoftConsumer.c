/* A host that another compiler makes for Windows: no C library, no runtime, nothing but the C interface, a kit in C and
 * the system. Ends with 0, or with the number of the first expectation that fails. */

#include <qxkit_c.h>
#include <qxutils_c.h>

__declspec(dllimport) void ExitProcess(unsigned code);
__declspec(dllimport) void* GetModuleHandleA(const char* name);
__declspec(dllimport) void* GetProcAddress(void* module, const char* name);
__declspec(dllimport) void* GetStdHandle(unsigned which);
__declspec(dllimport) int WriteFile(void* file, const void* bytes, unsigned count, unsigned* written, void* unused);

enum { kSide = 256, kHeader = 65536 };

static int expectations;

static void expect(int isMet) {
    char text[] = "expectation 00 fails\n";
    unsigned written;
    ++expectations;
    if (isMet)
        return;
    text[12] = (char)('0' + expectations / 10 % 10);
    text[13] = (char)('0' + expectations % 10);
    WriteFile(GetStdHandle((unsigned)-11), text, sizeof text - 1, &written, 0);
    ExitProcess((unsigned)expectations);
}

static uint16_t image[kSide * kSide];

static void makeImage(void) {
    uint32_t state = 1;
    int i;
    for (i = 0; i < kSide * kSide; ++i) {
        state = state * 1664525u + 1013904223u;
        image[i] = (uint16_t)(20000 + (state >> 24));
    }
}

static void expectSameAs(float expected, float actual) {
    expect(expected == actual);
}

static void judge(void) {
    float snr[8] = {0};
    qx_check_measures taken;
    qx_surface_fit_result grade = {0};
    expect(qx_interface_version() == QX_INTERFACE_VERSION);
    expect(qx_status_message(1062)[0] == 'U');
    makeImage();
    expect(qx_calcGlobalSNR(image, kSide, kSide, snr, 8) == 0);
    expectSameAs(271.250275f, snr[0]);
    expectSameAs(269.824219f, snr[1]);
    expect(qx_calcGlobalSNR(image, kSide, kSide, snr, 1) == 1020);
    expect(qx_getUniform(image, kSide, kSide) == 0);
    expect(qx_measureUniform(image, kSide, kSide, &taken) == 0 && taken.count == 1 && taken.measures[0].met == 1);
    expect(qx_evaluateSNRResult(image, kSide, kSide, snr, 8, &grade) == 0 && grade.evaluation == 1090);
    expect(qx_getStdev_u16(image, kSide, kSide) == 73.9393616f);
    expect(qx_getMedian_u16(image, kSide * kSide) == 20127);
    /* The kit's answers. */
    expect(qx_getGainId() == 3);
    expect(qx_getCurrentExpTime() == 500);
    expect(qx_WriteLogFile(8, 1, "from another compiler", -1000) == 0);
}

static void putBig(char* to, uint32_t value) {
    int i;
    for (i = 0; i < 4; ++i)
        to[i] = (char)(value >> (24 - 8 * i));
}

static char file[kHeader + 2 * 768 * 768];
static uint32_t object[768 * 768];
static uint32_t dark[768 * 768];

/* The corrected pixels beside a bad one at (5, 0): it takes the value of its left neighbour. */
static void correctWithDefect(void) {
    int i;
    for (i = 0; i < 768 * 768; ++i) {
        object[i] = 1000u + (uint32_t)i % 7;
        dark[i] = 0;
    }
    expect(qx_correctNDTImage(object, dark, 768 * 768) == 0);
    expect(object[6] == 10060000u);
    expect(object[5] == object[4] && object[4] == 10040000u);
}

static void correct(void) {
    qxkit_config_info* (*configOf)(void) =
        (qxkit_config_info * (*)(void)) GetProcAddress(GetModuleHandleA("QxSysMgt.dll"), "_Z13getConfigInfov");
    qx_defects defects = 0;
    int32_t points[2];
    int count = 0;
    int i;
    /* A gain of 10000 leaves a pixel as it is, one of 1 multiplies it by as much. */
    for (i = 0; i < 768 * 768; ++i)
        file[kHeader + 2 * i] = 1;
    expect(qx_writeImageToDisk(".\\", "ndt-linear-gain3.raw", file, (int)sizeof file) == 0);
    /* A point at x = 5, y = 0 in either kind of defect file. */
    for (i = 0; i < kHeader + 64; ++i)
        file[i] = 0;
    putBig(file + 12, 768);
    putBig(file + 16, 768);
    putBig(file + 40, 1);
    putBig(file + 44, kHeader);
    for (i = 52; i < 72; i += 8)
        putBig(file + i, kHeader + 16);
    file[kHeader] = 5;
    expect(qx_writeImageToDisk(".\\", "NormalStructurizedDefect.cal", file, kHeader + 16) == 0);
    /* The first two of these words are the other kind's x and y. */
    for (i = 52; i < 72; i += 8)
        putBig(file + i, kHeader + 4);
    expect(qx_writeImageToDisk(".\\", "NormalDefectInfo.cal", file, kHeader + 4) == 0);
    expect(qx_defects_create(&defects) == 0);
    expect(qx_getDefectIndexFromDefectFile(".\\", "NormalDefectInfo.cal", defects) == 0);
    expect(qx_defects_pixels(defects, QX_DEFECT_POINTS, points, 2, &count) == 0 && count == 1 && points[0] == 5);
    expect(qx_defects_release(defects) == 0 && qx_defects_release(defects) == 1020);
    correctWithDefect();
    expect(configOf != 0);
    configOf()->defectCorrectionMethod = 1;
    correctWithDefect();
}

void start(void) {
    judge();
    correct();
    ExitProcess(0);
}
