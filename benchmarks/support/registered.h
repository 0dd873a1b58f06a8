// Cases that a program gathers from the sources it was built with, so that a peer which is not
// installed is simply not linked. Each source makes one static Registered object.
#ifndef BENCHMARKS_SUPPORT_REGISTERED_H
#define BENCHMARKS_SUPPORT_REGISTERED_H

#include <algorithm>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace bench {
// T is what a source offers, such as a factory; order 0 is the base of the ratios.
template <typename T>
class Registered
{
public:
    struct Entry
    {
        int order;
        std::string name;
        T offer;
    };

    Registered(int order, std::string name, T offer)
    {
        List().push_back({order, std::move(name), std::move(offer)});
    }

    // In ascending order.
    static const std::vector<Entry>& All()
    {
        std::stable_sort(List().begin(), List().end(),
                         [](const Entry& a, const Entry& b) { return a.order < b.order; });
        return List();
    }

private:
    static std::vector<Entry>& List()
    {
        static std::vector<Entry> list;
        return list;
    }
};
}  // namespace bench

#endif  // BENCHMARKS_SUPPORT_REGISTERED_H
