#include <cstdlib>

#include "install/server_choice.h"
#include "support/random_bytes.h"
#include "tavkivut/inst_server.h"

int KIV_CALL KivGetRandomNumber(int low, int span) noexcept {
    unsigned char byte = 0;
    if (kiv::RandomBytes(&byte, sizeof byte))
        return kiv::ScaleRandom(low, span, byte / 255.0);
    static_assert(RAND_MAX == 32767);
    return kiv::ScaleRandom(low, span, std::rand() / 32767.0);
}
