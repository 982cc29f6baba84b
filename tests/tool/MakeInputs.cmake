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
file(WRITE ${INPUTS}/own.raw "${small}")
if(EXISTS /dev/full)
  file(MAKE_DIRECTORY ${INPUTS}/full)
  file(CREATE_LINK /dev/full ${INPUTS}/full/shutter-shadow.raw SYMBOLIC)
endif()

# For the checks. Pixels: "00" is 12336, "zz" 31354 and ASCII 1 twice 257; floats: "00HC" is 200.19 and "00ID" 804.75.
function(append_rows name row count)
  string(REPEAT "${row}" ${count} rows)
  file(APPEND ${INPUTS}/${name} "${rows}")
endfunction()

string(ASCII 1 1 low)
string(REPEAT "${low}" 600 lowRow)
string(REPEAT "00" 300 half)
string(REPEAT "zz" 300 otherHalf)
append_rows(low.raw "${lowRow}" 600)
append_rows(halves.raw "${half}${half}" 300)
append_rows(halves.raw "${otherHalf}${otherHalf}" 300)
append_rows(sides.raw "${half}${otherHalf}" 600)

# Other tests write into the folder of all inputs; nothing else may arrive in this one.
file(MAKE_DIRECTORY ${INPUTS}/watched)
file(COPY ${INPUTS}/halves.raw ${INPUTS}/headed.raw DESTINATION ${INPUTS}/watched)

string(REPEAT "00HC" 1024 dimRow)
string(REPEAT "00ID" 1024 brightRow)
string(REPEAT "00HC" 16 dimCell)
string(REPEAT "00ID" 1008 brightRest)
append_rows(dim.float "${dimRow}" 1024)
append_rows(bright.float "${brightRow}" 1024)
append_rows(rows.float "${dimRow}${brightRow}" 512)
append_rows(patch.float "${dimCell}${brightRest}" 1024)

# For the filters: a bright row in a dark image, 20 pixels wide.
string(REPEAT "00" 20 darkRow)
string(REPEAT "zz" 20 brightRow)
append_rows(line.raw "${darkRow}" 20)
append_rows(line.raw "${brightRow}" 1)
append_rows(line.raw "${darkRow}" 20)

# Four of its rows, ten pixels wide, and each pixel twice as large.
append_rows(part.raw "${darkRow}" 2)
append_rows(part.raw "${brightRow}" 2)
append_rows(part.raw "${darkRow}" 4)

string(REPEAT "A" 58 letters)
file(WRITE ${INPUTS}/letters.txt "${letters}")
file(WRITE ${INPUTS}/lines.b64 "Zm9v\r\nYmE=\n")
file(WRITE ${INPUTS}/star.b64 "Zm9v\n*mFy")
file(WRITE ${INPUTS}/cut.b64 "Zm9vYm")

file(WRITE ${INPUTS}/strict.toml "[limits]\ndarkLevelFloor = 13000\n")
file(WRITE ${INPUTS}/same.toml "[limits]\ndarkLevelFloor = 12351\n")
file(WRITE ${INPUTS}/stored.toml "[directories]\noffset = \"offset\"\n")
file(MAKE_DIRECTORY ${INPUTS}/offset)
file(COPY_FILE ${INPUTS}/rows.float ${INPUTS}/offset/dark-500ms-std-gain2.raw)

file(WRITE ${INPUTS}/same.txt "7 7\n7 7\n")
file(WRITE ${INPUTS}/twoBelow.json "{\"snr\": [1, 2, 2, 1]}")
file(WRITE ${INPUTS}/threeBelow.toml "snr = [1, 2.0, 2.0, 2.0, 9.0]\n")
file(WRITE ${INPUTS}/short.txt "1 1 1")
file(WRITE ${INPUTS}/word.txt "1 1 one 1")
file(WRITE ${INPUTS}/negative.json "[1, 1, -1, 1]")
file(WRITE ${INPUTS}/nameless.toml "values = [1, 1, 1, 1]\n")
file(WRITE ${INPUTS}/broken.json "[1, 2")
file(WRITE ${INPUTS}/nameless.json "{\"values\": [1, 1, 1, 1]}")
file(WRITE ${INPUTS}/word.json "{\"snr\": [1, \"one\", 1, 1]}")
file(WRITE ${INPUTS}/large.toml "snr = [1, 1, 1, 1e39]\n")
file(WRITE ${INPUTS}/detector.toml "[detector]\nwidth = 1000\nheight = 2000\n")
file(WRITE ${INPUTS}/aed.toml "[acquisition]\nsyncMode = 3\nndtFrameCount = 4\n")
file(WRITE ${INPUTS}/wrongKey.toml "[detector]\ncolour = 1\n")
file(WRITE ${INPUTS}/broken.toml "snr = [1,\n")
