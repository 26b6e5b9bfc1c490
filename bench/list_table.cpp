// The list kernel: cycles a node, by size and stride, beside a plain chain of dependent loads.
#include <cstring>
#include <vector>

#include "kernels/bracket.h"
#include "kestrel/kernels.h"
#include "sample.h"
#include "table.h"

namespace bench {
namespace {

constexpr std::uint32_t strides[] = {64, 256, 4096 + 64};

struct Row {
    std::uint32_t size, stride;
    Samples whole{};
    Samples half{};   ///< walks through half of the list, where the row is short
    Samples plain{};  ///< the same walks as `whole`, by a compiled loop

    [[nodiscard]] std::uint32_t nodes() const { return size / stride; }
    /// Whether the fixed cost of a walk shows in its figure.
    [[nodiscard]] bool isShort() const { return size <= firstLevel; }
    /// Cycles a node without the fixed cost of a walk: those of the nodes beyond the first half.
    [[nodiscard]] std::optional<double> net() const {
        if (!isShort())
            return std::nullopt;
        const std::uint32_t secondHalf = nodes() - nodes() / 2;
        return ratio(whole.bestCycles() - half.bestCycles(), secondHalf);
    }
};

/// Links a node every `stride` bytes; the last points one stride past itself.
void layList(std::byte* node, std::uint32_t nodes, std::uint32_t stride) {
    for (; nodes != 0; --nodes) {
        std::byte* const next = node + stride;
        std::memcpy(node, &next, sizeof next);
        node = next;
    }
}

/// The same walk as a compiler writes it. It has one load a turn, too: prefetchers follow each load
/// instruction by itself, and would help an unrolled walk in another way.
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
                if (size / stride >= 64)  // with fewer, a walk is mostly its fixed cost
                    all.push_back({size, stride});
    }

    [[nodiscard]] const char* name() const override { return "list"; }
    [[nodiscard]] const char* legend() const override {
        return "core cycles a node; \"net\" leaves out the fixed cost of a walk; \"plain\" is the "
               "same walk by a compiled loop";
    }
    void sample() override {
        kernelFirst = !kernelFirst;
        for (Row& row : all)
            sample(row);
    }
    [[nodiscard]] nlohmann::ordered_json rows() const override {
        nlohmann::ordered_json shown = nlohmann::ordered_json::array();
        for (const Row& row : all) {
            const std::uint32_t nodes = row.nodes();
            const double nanoseconds = row.whole.bestTicks() * 1e9 / context.ticksPerSecond;
            shown.push_back({{"kernel", "kestrel___list"},
                             {"KiB", row.size / kibibyte},
                             {"stride", row.stride},
                             {"cycle/node", numberOrNull(ratio(row.whole.bestCycles(), nodes))},
                             {"net", numberOrNull(row.net())},
                             {"plain", numberOrNull(ratio(row.plain.bestCycles(), nodes))},
                             {"ns/node", numberOrNull(ratio(nanoseconds, nodes))}});
        }
        return shown;
    }

  private:
    void sample(Row& row) {
        std::byte* const head = context.memory.data();
        layList(head, row.nodes(), row.stride);
        const auto sampleOf = [&](auto walk, std::uint32_t nodes) {
            return sampleCalls(context.ticksPerSecond, [=] { return walk(head, nodes); });
        };
        // They take turns at being first, as the first finds the caches as laying the list left
        // them.
        if (!kernelFirst)
            row.plain.add(sampleOf(plainWalk, row.nodes()));
        row.whole.add(sampleOf(kestrel___list, row.nodes()));
        if (row.isShort())
            row.half.add(sampleOf(kestrel___list, row.nodes() / 2));
        if (kernelFirst)
            row.plain.add(sampleOf(plainWalk, row.nodes()));
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
