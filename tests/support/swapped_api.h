#ifndef KIV_TESTS_SUPPORT_SWAPPED_API_H
#define KIV_TESTS_SUPPORT_SWAPPED_API_H

#include "support/dynamic_function.h"

namespace kiv::test {

// Puts a table of functions in front of the system's own for as long as it lives. For tests with the objects
// linked in. Without an argument it is a copy of the system's own table, to be changed by the test: a null member is a
// missing function.
//
//     SwappedApi<IcmpApi> icmp;
//     icmp->create = nullptr;
template <class Api>
class SwappedApi {
public:
    SwappedApi() : SwappedApi(DynamicApi<Api>::Get()) {}
    explicit SwappedApi(const Api& api) : m_api(api), m_previous(DynamicApi<Api>::Swap(&m_api)) {}
    ~SwappedApi() { DynamicApi<Api>::Swap(m_previous); }
    SwappedApi(const SwappedApi&) = delete;
    SwappedApi& operator=(const SwappedApi&) = delete;

    Api* operator->() { return &m_api; }

private:
    Api m_api;
    const Api* m_previous;
};

}  // namespace kiv::test

#endif
