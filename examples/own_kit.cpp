// Shows whose kit answers the library. The host's own one (QxSysMgt.cpp) stands for a panel of type 13 at gain 5.

#include <QxUtils.h>

#include <cstdio>

int main() {
    const int channels = getReadOutChannels();
    const int gain = getGainId();
    const bool ownKit = channels == 128 && gain == 5;
    std::printf("%d read-out channels, gain %d: %s kit answers\n", channels, gain,
                ownKit ? "the host's own" : "another");
    return ownKit ? 0 : 1;
}
