#include <string>

#include "files/version_resource.h"
#include "require.h"

namespace {

// Every node that the resource's own languages name, as a query of a string does.
template <class Char>
void Walk(std::string_view block, std::initializer_list<const Char*> names) {
    const kiv::VersionResource<Char> resource(block);
    const auto* const* name = names.begin();
    const auto root = resource.FindValue({});
    Require(!root || root->size() <= block.size());
    if (root)
        kiv::FixedFileVersion(*root);
    const auto list = resource.FindValue({name[0], name[1]});
    for (std::size_t i = 0; list && i < 4 && kiv::TranslationAt(*list, i); ++i)
        Require(list->size() >= (i + 1) * 4);
    const auto text = resource.FindText({name[2], name[3], name[4]});
    Require(!text || text->size() * sizeof(Char) <= block.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string block(reinterpret_cast<const char*>(data), size);  // on the heap: a step outside is seen
    kiv::IsNarrowVersionBlock(block);
    Walk<char16_t>(block, {u"VarFileInfo", u"Translation", u"StringFileInfo", u"040904B0", u"CompanyName"});
    Walk<char>(block, {"VarFileInfo", "Translation", "StringFileInfo", "040904B0", "CompanyName"});
    return 0;
}
