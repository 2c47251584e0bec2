#include "tavkivlg/line_environment.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "support/windows_api.h"

namespace kivlg {
namespace {

// Allocated when the library is loaded, freed when it is unloaded. Without a slot every thread has a null value.
class TlsSlot {
public:
    TlsSlot() noexcept : m_index(::TlsAlloc()) {}
    ~TlsSlot() {
        ::TlsFree(m_index);
        m_index = TLS_OUT_OF_INDEXES;
    }
    TlsSlot(const TlsSlot&) = delete;
    TlsSlot& operator=(const TlsSlot&) = delete;

    void Set(std::uintptr_t value) const noexcept { ::TlsSetValue(m_index, reinterpret_cast<void*>(value)); }
    std::uintptr_t Get() const noexcept {
        return m_index == TLS_OUT_OF_INDEXES ? 0 : reinterpret_cast<std::uintptr_t>(::TlsGetValue(m_index));
    }

private:
    DWORD m_index;
};

// One node per distinct component name that was ever seen: a handful in a process. Only prepended to, so it is read
// without a lock.
class ComponentNames {
public:
    ComponentNames() = default;
    ~ComponentNames() {
        while (m_first != nullptr) {
            Node* next = m_first->next;
            std::free(m_first);
            m_first = next;
        }
    }
    ComponentNames(const ComponentNames&) = delete;
    ComponentNames& operator=(const ComponentNames&) = delete;

    // The library's own copy of the name; "" for null and when there is no memory.
    const char* Intern(const char* name) noexcept {
        if (name == nullptr)
            return "";
        Node* first = __atomic_load_n(&m_first, __ATOMIC_ACQUIRE);
        for (const Node* node = first; node != nullptr; node = node->next) {
            if (std::strcmp(node->text, name) == 0)
                return node->text;
        }
        auto* node = static_cast<Node*>(std::malloc(sizeof(Node) + std::strlen(name)));
        if (node == nullptr)
            return "";
        std::strcpy(node->text, name);
        node->next = first;
        // A name that another thread adds at the same moment may stand twice: harmless.
        while (!__atomic_compare_exchange_n(&m_first, &node->next, node, false, __ATOMIC_ACQ_REL, __ATOMIC_ACQUIRE)) {
        }
        return node->text;
    }

private:
    struct Node {
        Node* next;
        char text[1];
    };
    Node* m_first = nullptr;
};

constexpr unsigned kKindBits = 8;
constexpr unsigned kErrorBit = 1U << kKindBits;
constexpr unsigned kLevelShift = kKindBits + 1;

TlsSlot g_component;
TlsSlot g_shape;  // level, whether it is about an error, and kind
TlsSlot g_error;
ComponentNames g_names;

}  // namespace

void SetLineEnvironment(const LineEnvironment& environment) noexcept {
    g_component.Set(reinterpret_cast<std::uintptr_t>(g_names.Intern(environment.component)));
    g_shape.Set(environment.level << kLevelShift | (environment.isAboutError ? kErrorBit : 0) |
                static_cast<unsigned char>(environment.kind));
    g_error.Set(environment.win32Error);
}

LineEnvironment GetLineEnvironment() noexcept {
    const auto* component = reinterpret_cast<const char*>(g_component.Get());
    if (component == nullptr)
        return {"", 1, ' ', false, 0};
    const auto shape = static_cast<unsigned>(g_shape.Get());
    return {component, shape >> kLevelShift, static_cast<char>(shape & 0xFF), (shape & kErrorBit) != 0,
            static_cast<unsigned long>(g_error.Get())};
}

}  // namespace kivlg
