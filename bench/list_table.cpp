// The list kernel: cycles a node, by size and stride, beside a plain chain of dependent loads.
#include <vector>

#include "kernels/bracket.h"
#include "kestrel/kernels.h"
#include "patterns/list_pattern.h"
#include "sample.h"
#include "table.h"

namespace bench {
namespace {

constexpr std::uint32_t kibibyte = 1024, mebibyte = 1024 * kibibyte;
constexpr std::uint32_t sizes[] = {16 * kibibyte, 256 * kibibyte, 8 * mebibyte, 512 * mebibyte};
constexpr std::uint32_t strides[] = {64, 256, 4096 + 64};

struct Row {
    std::uint32_t size, stride;
    Samples ticks{}, cycles{}, plainCycles{};  ///< of one walk
};

/// The same walk as a compiler writes it. One load a turn as well: prefetchers tell loads apart by
/// where they stand in the code, and sixteen in a row would be helped in another way.
std::uint64_t plainWalk(const std::byte* node, std::uint32_t count) {
    return Kestrel::timed([=]() mutable {
        for (std::uint32_t i = count; i != 0; --i) {
            node = *reinterpret_cast<const std::byte* const*>(node);
            asm volatile("" : "+r"(node));
        }
    });
}

class ListTable : public Table {
  public:
    explicit ListTable(const Context& given) : context(given) {
        for (const std::uint32_t size : sizes)
            for (const std::uint32_t stride : strides)
                if (size / stride >= 64)  // fewer nodes would measure the bracket
                    all.push_back({size, stride});
    }

    [[nodiscard]] const char* name() const override { return "list"; }
    [[nodiscard]] const char* legend() const override {
        return "core cycles a node; \"plain\" is the same walk by a compiled loop";
    }
    void sample() override {
        kernelFirst = !kernelFirst;
        for (Row& row : all)
            sample(row);
    }
    [[nodiscard]] nlohmann::ordered_json rows() const override {
        nlohmann::ordered_json shown = nlohmann::ordered_json::array();
        for (const Row& row : all) {
            const double nodes = nodesOf(row);
            const auto perNode = [nodes](double time) {
                return time != 0 ? std::optional(time / nodes) : std::nullopt;
            };
            shown.push_back({{"kernel", "kestrel___list"},
                             {"KiB", row.size / kibibyte},
                             {"stride", row.stride},
                             {"cycle/node", numberOrNull(perNode(row.cycles.best()))},
                             {"plain", numberOrNull(perNode(row.plainCycles.best()))},
                             {"ns/node", numberOrNull(perNode(row.ticks.best() * 1e9 /
                                                              context.ticksPerSecond))}});
        }
        return shown;
    }

  private:
    static std::uint32_t nodesOf(const Row& row) { return row.size / row.stride; }

    void sample(Row& row) {
        Kestrel::ListLPattern pattern(row.stride);
        Kestrel::WorkerResult result;
        Kestrel::PatternState state;
        pattern.prepare(context.memory.data(), row.size, result, state);
        const std::uint32_t nodes = nodesOf(row);
        const auto sampleOf = [&](auto walk) {
            return sampleCalls(context.ticksPerSecond, [&] { return walk(state.begin, nodes); });
        };
        // Whoever comes first finds the caches as the laying of the list has left them.
        Sample own{}, plain{};
        if (kernelFirst)
            own = sampleOf(kestrel___list);
        plain = sampleOf(plainWalk);
        if (!kernelFirst)
            own = sampleOf(kestrel___list);
        row.ticks.add(own.ticksPerCall);
        row.cycles.add(own.cyclesPerCall);
        row.plainCycles.add(plain.cyclesPerCall);
    }

    Context context;
    std::vector<Row> all;
    bool kernelFirst = false;
};

}  // namespace

std::unique_ptr<Table> makeListTable(const Context& context) {
    return std::make_unique<ListTable>(context);
}

}  // namespace bench
