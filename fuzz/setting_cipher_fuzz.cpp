#include "security/setting_cipher.h"

#include "require.h"

// Takes the input twice: as a text to open, which is refused or gives a clear text within the limit, and as a clear
// text, which must come back.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::string_view kKey = "key of the fuzzer";
    const std::string_view input(reinterpret_cast<const char*>(data), size < 1024 ? size : 1024);
    kiv::ClearText clear;
    Require(!kiv::OpenSetting(kKey, input, clear) || clear.View().size() <= kiv::kSettingClearLimit);

    const std::size_t block = input.empty() ? 0 : static_cast<unsigned char>(input[0]) * 4U;
    kiv::SettingNonces nonces{};
    Require(kiv::DeriveSettingNonces(kKey, input.substr(0, kiv::kSettingClearLimit), input, nonces));
    const std::string text = kiv::SealSetting(kKey, nonces, input, block);
    if (text.empty())
        return 0;
    Require(text.size() % block == 0 && text.size() <= kiv::kSettingTextLimit);
    Require(kiv::OpenSetting(kKey, text, clear) && clear.View() == input);
    return 0;
}
