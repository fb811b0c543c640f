/// A plugin of QEMU's user emulation that counts the instructions a program executes between its
/// calls of count_begin() and count_end().
///
/// A processor without performance counters has no better measure, and the count repeats:
/// neither the host nor its load take part. The program has to be single-threaded, and linked at
/// fixed addresses so that its functions have names; those of shared libraries have none.
///
///     qemu-arm -plugin libinstruction-counter.so,out=FILE[,top=N] program
///
/// writes one line with the count for each pair of calls, in their order, and below them the N
/// functions that executed most of the instructions of all of them.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <map>
#include <string>
#include <string_view>
#include <vector>

// Of QEMU's plugin interface, version 1, what is used here; Debian ships no header for it.
extern "C" {
struct QemuBlock;
struct QemuInstruction;
using QemuPlugin = std::uint64_t;
constexpr int WITHOUT_REGISTERS = 0;
constexpr int ADD = 0;

void qemu_plugin_register_vcpu_tb_trans_cb(QemuPlugin plugin,
                                           void (*callback)(QemuPlugin, QemuBlock*));
void qemu_plugin_register_vcpu_tb_exec_cb(QemuBlock* block, void (*callback)(unsigned, void*),
                                          int registers, void* data);
void qemu_plugin_register_vcpu_tb_exec_inline(QemuBlock* block, int operation, void* counter,
                                              std::uint64_t addend);
void qemu_plugin_register_atexit_cb(QemuPlugin plugin, void (*callback)(QemuPlugin, void*),
                                    void* data);
std::size_t qemu_plugin_tb_n_insns(const QemuBlock* block);
QemuInstruction* qemu_plugin_tb_get_insn(const QemuBlock* block, std::size_t index);
const char* qemu_plugin_insn_symbol(const QemuInstruction* instruction);
}

namespace {

struct Function
{
    std::string name;
    std::uint64_t executed = 0; ///< since the program's start
    std::uint64_t before = 0;   ///< at the region's begin
    std::uint64_t counted = 0;  ///< in all regions so far
};

struct Counter
{
    /// Emulated code adds to the counters in place: they must not move.
    std::deque<Function> functions;
    std::map<std::string, Function*, std::less<>> byName;
    std::vector<std::uint64_t> regions;
    std::string out;
    std::size_t top = 0;

    Function& function(std::string_view name)
    {
        const auto known = byName.find(name);
        if (known != byName.end()) {
            return *known->second;
        }
        functions.push_back({.name = std::string(name)});
        byName.emplace(name, &functions.back());
        return functions.back();
    }
};

Counter& counter()
{
    static Counter instance;
    return instance;
}

void begin(unsigned /*processor*/, void* /*data*/)
{
    for (Function& function : counter().functions) {
        function.before = function.executed;
    }
}

void end(unsigned /*processor*/, void* /*data*/)
{
    std::uint64_t sum = 0;
    for (Function& function : counter().functions) {
        if (function.name.starts_with("count_")) {
            continue;
        }
        sum += function.executed - function.before;
        function.counted += function.executed - function.before;
    }
    counter().regions.push_back(sum);
}

/// Instructions are counted by block, where a block is entered: they end at every branch.
void translate(QemuPlugin /*plugin*/, QemuBlock* block)
{
    const char* symbol = qemu_plugin_insn_symbol(qemu_plugin_tb_get_insn(block, 0));
    const std::string_view name = symbol != nullptr ? symbol : "(C library)";
    qemu_plugin_register_vcpu_tb_exec_inline(block, ADD, &counter().function(name).executed,
                                             qemu_plugin_tb_n_insns(block));
    if (name == "count_begin") {
        qemu_plugin_register_vcpu_tb_exec_cb(block, begin, WITHOUT_REGISTERS, nullptr);
    } else if (name == "count_end") {
        qemu_plugin_register_vcpu_tb_exec_cb(block, end, WITHOUT_REGISTERS, nullptr);
    }
}

void writeTop(std::FILE* file)
{
    std::uint64_t sum = 0;
    std::vector<const Function*> order;
    for (const Function& function : counter().functions) {
        sum += function.counted;
        if (function.counted != 0) {
            order.push_back(&function);
        }
    }
    std::sort(order.begin(), order.end(),
              [](const Function* a, const Function* b) { return a->counted > b->counted; });
    order.resize(std::min(order.size(), counter().top));
    for (const Function* function : order) {
        std::fprintf(file, "%5.1f%% %s\n",
                     100.0 * static_cast<double>(function->counted) / static_cast<double>(sum),
                     function->name.c_str());
    }
}

void report(QemuPlugin /*plugin*/, void* /*data*/)
{
    std::FILE* file = std::fopen(counter().out.c_str(), "w");
    if (file == nullptr) {
        std::perror(counter().out.c_str());
        return;
    }
    for (const std::uint64_t region : counter().regions) {
        std::fprintf(file, "%llu\n", static_cast<unsigned long long>(region));
    }
    writeTop(file);
    std::fclose(file);
}

} // namespace

extern "C" {
[[gnu::visibility("default")]] extern const int qemu_plugin_version = 1;

[[gnu::visibility("default")]] int qemu_plugin_install(QemuPlugin plugin, const void* /*info*/,
                                                       int argc, char** argv)
{
    for (const std::string_view argument : std::vector<std::string_view>(argv, argv + argc)) {
        if (argument.starts_with("out=")) {
            counter().out = argument.substr(4);
        } else if (argument.starts_with("top=")) {
            counter().top = std::strtoul(argument.substr(4).data(), nullptr, 10);
        }
    }
    qemu_plugin_register_vcpu_tb_trans_cb(plugin, translate);
    qemu_plugin_register_atexit_cb(plugin, report, nullptr);
    return counter().out.empty() ? 1 : 0;
}
}
