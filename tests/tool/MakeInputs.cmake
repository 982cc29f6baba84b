# Writes the inputs of the tests into the folder INPUTS. Pixels alternate between the bytes "A0" and "C0", that is
# 12353 and 12355: above the pedestal of 208 the upper median of every square is 12147 and the standard deviation 1.

file(REMOVE_RECURSE ${INPUTS})
file(MAKE_DIRECTORY ${INPUTS}/folder)

string(REPEAT "A0C0" 180000 pixels)
string(REPEAT "H" 65536 header)
file(WRITE ${INPUTS}/plain.raw "${pixels}")
file(WRITE ${INPUTS}/headed.raw "${header}${pixels}")
string(REPEAT "A0C0" 6000 small)
file(WRITE ${INPUTS}/small.raw "${small}")
string(REPEAT "A0C0" 131072 panel)
file(WRITE ${INPUTS}/panel.raw "${panel}")
file(WRITE ${INPUTS}/empty.raw "")

file(WRITE ${INPUTS}/same.txt "7 7\n7 7\n")
file(WRITE ${INPUTS}/twoBelow.json "{\"snr\": [1, 2, 2, 1]}")
file(WRITE ${INPUTS}/threeBelow.toml "snr = [1, 2.0, 2.0, 2.0, 9.0]\n")
file(WRITE ${INPUTS}/short.txt "1 1 1")
file(WRITE ${INPUTS}/word.txt "1 1 one 1")
file(WRITE ${INPUTS}/negative.json "[1, 1, -1, 1]")
file(WRITE ${INPUTS}/nameless.toml "values = [1, 1, 1, 1]\n")
file(WRITE ${INPUTS}/detector.toml "[detector]\nwidth = 1000\nheight = 2000\n")
file(WRITE ${INPUTS}/broken.toml "snr = [1,\n")
