#ifndef KIV_TESTS_SUPPORT_SWAPPED_API_H
#define KIV_TESTS_SUPPORT_SWAPPED_API_H

#include "support/dynamic_function.h"

namespace kiv::test {

// Puts a table of functions in front of the system's own for as long as it lives. For tests with the objects
// linked in.
template <class Api>
class SwappedApi {
public:
    explicit SwappedApi(const Api& api) : m_api(api), m_previous(DynamicApi<Api>::Swap(&m_api)) {}
    ~SwappedApi() { DynamicApi<Api>::Swap(m_previous); }
    SwappedApi(const SwappedApi&) = delete;
    SwappedApi& operator=(const SwappedApi&) = delete;

private:
    Api m_api;
    const Api* m_previous;
};

}  // namespace kiv::test

#endif
