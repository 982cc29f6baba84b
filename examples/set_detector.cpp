// Sets the virtual detector and shows that the library sees it:
//     set_detector [SETTINGS_FILE]
// The file is like share/qxutils/example.toml of the installed kit. Without one the gain id is set to 5.

#include <QxUtils.h>
#include <qxkit/VirtualDetector.h>

#include <cstdio>

int main(int argc, char** argv) {
    if (argc > 1) {
        const std::string error = qxkit::loadVirtualDetector(argv[1]);
        if (!error.empty()) {
            std::fprintf(stderr, "%s\n", error.c_str());
            return 1;
        }
    } else {
        qxkit::setGainId(5);
    }
    const int gain = static_cast<int>(qxkit::virtualDetector().registers.modeWord >> 4 & 7);
    std::printf("gain %d, power mode %d, %d read-out channels\n", getGainId(), getPowerModeId(), getReadOutChannels());
    return getGainId() == gain ? 0 : 1;
}
