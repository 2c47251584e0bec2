#include "support/windows_api.h"
#include "tavkivlg/tavkivlg.h"

unsigned long KIVLG_CALL KivGetPrivateProfileStringA(const char* section, const char* key, const char* defaultText,
                                                     char* buffer, unsigned long size, const char* fileName) {
    return ::GetPrivateProfileStringA(section, key, defaultText, buffer, size, fileName);
}

unsigned long KIVLG_CALL KivGetFileEncoding(void*) {
    return 0;
}
