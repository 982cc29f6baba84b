// Measures the SNR of a flat field that it makes up:
//     csc JudgeInCSharp.cs       (or mcs, of Mono)

using System;
using System.Runtime.InteropServices;

static class JudgeInCSharp {
    [DllImport("qxutils_c")]
    static extern int qx_calcGlobalSNR(ushort[] image, int width, int height, float[] snr, int capacity);
    [DllImport("qxutils_c")]
    static extern IntPtr qx_status_message(int code);

    static int Main() {
        const int side = 1024;
        var image = new ushort[side * side];
        var noise = new Random(1);
        for (int i = 0; i < image.Length; ++i)
            image[i] = (ushort)(52000 + noise.Next(-300, 301));

        var snr = new float[32];
        int status = qx_calcGlobalSNR(image, side, side, snr, snr.Length);
        Console.WriteLine("{0} {1}: SNR {2}", status, Marshal.PtrToStringAnsi(qx_status_message(status)), snr[0]);
        return status == 0 && snr[0] > 200 && snr[0] < 400 ? 0 : 1;
    }
}
