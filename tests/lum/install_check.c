/* Links against the installed lum libraries from C and checks one value of each. */
#include <stdio.h>
#include <string.h>

#include <lumdc.h>

int main(void) {
    const Lum8u text[] = "123456789";
    Lum32u crc = 0;
    Lum8u zeros[4] = {1, 2, 3, 4};
    const LumLibraryVersion* v = lumdcGetLibVersion();
    if (lumsCRC32_8u(text, 9, &crc) != lumStsNoErr || crc != 0xCBF43926u) return 1;
    if (lumsZero_8u(zeros, 4) != lumStsNoErr || zeros[3] != 0) return 2;
    if (lumInit() != lumStsNoErr || v == NULL || v->major != 9) return 3;
    printf("%s %s: %s\n", v->Name, v->Version, lumGetStatusString(lumStsNoErr));
    return 0;
}
