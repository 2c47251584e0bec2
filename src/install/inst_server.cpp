#include "tavkivut/inst_server.h"

#include <cstdlib>

#include "support/windows_api.h"

void CKivInstServer::GetPath(char* out, int) noexcept {
    if (out != nullptr)
        out[0] = '\0';
}

void CKivInstServer::GetRandomPath(char* out) noexcept {
    GetPath(out, 1);
}

void CKivInstServer::GetPath(unsigned int, char* out) noexcept {
    if (out != nullptr)
        out[0] = '\0';
}

unsigned int CKivInstServer::GetCount() noexcept {
    return 0;
}

void CKivInstServer::GetSetupPath(char* out, const char*) noexcept {
    if (out != nullptr)
        out[0] = '\0';
}

int CKivInstServer::IsAvailable(const char*) noexcept {
    return 0;
}

int CKivInstServer::GetMostResponsiveServer(char* out, unsigned int outSize, const char**, int) noexcept {
    if (out != nullptr && outSize > 0)
        out[0] = '\0';
    return 0;
}

int CKivInstServer::IsFallbackServer(const char*) noexcept {
    return 0;
}

void CKivInstServer::AddPath(const char*) noexcept {}

void CKivInstServer::RemovePath(unsigned int) noexcept {}

void CKivInstServer::SetSessionServerPath(const char*) noexcept {}

void CKivInstServer::SetSessionRegPersistence(int) noexcept {}

const char* CKivInstServer::GetServerHost() noexcept {
    return "";
}

const char* CKivInstServer::GetServerShare() noexcept {
    return nullptr;
}

unsigned int CKivInstServer::GetServerPolicy(const char*, char* out, unsigned int outSize) noexcept {
    if (out != nullptr && outSize > 0)
        out[0] = '\0';
    return 0;
}

int CKivInstServer::SetServerPolicy(const char*, const char*) noexcept {
    return 0;
}

char* CKivInstServer::MallocPathList(int*) noexcept {
    return nullptr;
}

void CKivInstServer::FreePathList(char* list) noexcept {
    std::free(list);
}

unsigned long __stdcall CKivInstServer::IcmpThreadProc(void*) noexcept {
    return 0;
}

int KIV_CALL KivIsHostAlive(const char*, int) noexcept {
    return 0;
}

int KIV_CALL KivGetRandomNumber(int low, int) noexcept {
    return low;
}

void KIV_CALL KivGetServerPath(char* out) noexcept {
    CKivInstServer::GetPath(out, 0);
}

const char* KIV_CALL KivGetTavWkstaPath(const char*, const char*) noexcept {
    return "";
}
