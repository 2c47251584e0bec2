#ifndef KIV_SUPPORT_DYNAMIC_FUNCTION_H
#define KIV_SUPPORT_DYNAMIC_FUNCTION_H

#include "support/once.h"
#include "support/windows_api.h"

namespace kiv {

// Loads a module of the operating system by its full path in the system folder; null when it is missing.
// kernel32.dll and its like, which are in every process, are found without a load. The module stays loaded.
// Never called while the loader lock is held.
HMODULE LoadSystemModule(const char* fileName) noexcept;

// Sets `function` to the export of that name, or to null when the module or the export is missing.
template <class Function>
void FindFunction(HMODULE module, const char* name, Function& function) noexcept {
    function = module == nullptr ? nullptr
                                 : reinterpret_cast<Function>(reinterpret_cast<void*>(::GetProcAddress(module, name)));
}

// A table of functions that some supported system lacks. `Api` is a struct of function pointers whose types are
// taken from the declarations, with `void Load()` that fills them: a null member is a missing function.
//
//     struct IcmpApi {
//         decltype(&::IcmpCreateFile) create;
//         void Load();
//     };
//     const IcmpApi& Icmp() { return DynamicApi<IcmpApi>::Get(); }
//
// Filled on first use, never changed afterwards. Tests put a table of their own in front with Swap, from one thread
// and with no other user of the table running.
template <class Api>
class DynamicApi {
public:
    static const Api& Get() noexcept {
        if (s_swapped != nullptr)
            return *s_swapped;
        s_once.Run([] { s_table.Load(); });
        return s_table;
    }

    // Returns what stood in front before; null puts the system's own functions back.
    static const Api* Swap(const Api* table) noexcept {
        const Api* previous = s_swapped;
        s_swapped = table;
        return previous;
    }

private:
    static inline Once s_once{};
    static inline Api s_table{};
    static inline const Api* s_swapped = nullptr;
};

}  // namespace kiv

#endif
