#include "tavkivlg/line_environment.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "support/once.h"
#include "support/windows_api.h"

namespace kivlg {
namespace {

constexpr unsigned kKindBits = 8;

struct Slots {
    DWORD component;
    DWORD levelAndKind;
    DWORD error;
};

const Slots& TheSlots() noexcept {
    static kiv::Once once;
    static Slots slots;
    once.Run([] { slots = {::TlsAlloc(), ::TlsAlloc(), ::TlsAlloc()}; });
    return slots;
}

// One node per distinct component name ever seen: a handful in a process. Never freed, only prepended.
struct ComponentName {
    ComponentName* next;
    char text[1];
};
ComponentName* g_names = nullptr;

const char* Intern(const char* component) noexcept {
    if (component == nullptr)
        return "";
    ComponentName* first = __atomic_load_n(&g_names, __ATOMIC_ACQUIRE);
    for (const ComponentName* name = first; name != nullptr; name = name->next) {
        if (std::strcmp(name->text, component) == 0)
            return name->text;
    }
    auto* name = static_cast<ComponentName*>(std::malloc(sizeof(ComponentName) + std::strlen(component)));
    if (name == nullptr)
        return "";
    std::strcpy(name->text, component);
    name->next = first;
    while (!__atomic_compare_exchange_n(&g_names, &name->next, name, false, __ATOMIC_ACQ_REL, __ATOMIC_ACQUIRE)) {
    }
    return name->text;
}

void* AsSlotValue(std::uintptr_t number) noexcept {
    return reinterpret_cast<void*>(number);
}

}  // namespace

void SetLineEnvironment(const char* component, unsigned level, char kind, unsigned long win32Error) noexcept {
    const Slots& slots = TheSlots();
    ::TlsSetValue(slots.component, const_cast<char*>(Intern(component)));
    ::TlsSetValue(slots.levelAndKind,
                  AsSlotValue(static_cast<std::uintptr_t>(level) << kKindBits | static_cast<unsigned char>(kind)));
    ::TlsSetValue(slots.error, AsSlotValue(win32Error));
}

LineEnvironment GetLineEnvironment() noexcept {
    const Slots& slots = TheSlots();
    const auto* component = static_cast<const char*>(::TlsGetValue(slots.component));
    const auto packed = reinterpret_cast<std::uintptr_t>(::TlsGetValue(slots.levelAndKind));
    const auto error = reinterpret_cast<std::uintptr_t>(::TlsGetValue(slots.error));
    if (component == nullptr)  // this thread has set no environment yet
        return {"", 1, ' ', 0};
    return {component, static_cast<unsigned>(packed >> kKindBits), static_cast<char>(packed & 0xFF),
            static_cast<unsigned long>(error)};
}

}  // namespace kivlg
