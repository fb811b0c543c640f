#include "configuration/ConfigurationFile.h"
#include "server/LogRecorder.h"
#include "server/Server.h"
#include "support/TemporaryFolder.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <string_view>

// Lets the server load damaged configuration files: it says what is wrong, runs on, and keeps the
// file aside before it writes another one. Usage: damaged-config COUNT [SEED]

namespace tarvik::test {
namespace {

constexpr const char* REFUSED = "Server (FATAL): Couldn't load configuration. ";

/// What it says about a file that it refuses; empty otherwise.
std::string refusal(const LogRecorder& log)
{
    for (const std::string& line : log.lines("Server")) {
        if (line.starts_with(REFUSED)) {
            return line;
        }
    }
    return "";
}

/// A file as the server writes it, with two parts taught.
std::string wholeFile(const std::string& path)
{
    configuration::SystemConfiguration settings;
    database::Template taught;
    taught.id = 7;
    settings.database.addTemplate(std::make_shared<database::Template>(taught));
    taught.id = 8;
    settings.database.addTemplate(std::make_shared<database::Template>(taught));
    settings.logging.logToConsole = false;
    configuration::save(settings, path);
    return readFile(path);
}

/// What disks, editors and power cuts do to a file.
class Damage
{
public:
    explicit Damage(unsigned seed) : _random(seed) {}

    std::string doneTo(std::string file)
    {
        switch (_random() % 8) {
        case 0:
            return file.substr(0, below(file.size()));
        case 1:
            return zeroFilled(std::move(file));
        case 2:
            return bitsFlipped(std::move(file));
        case 3:
            return blockMoved(std::move(file));
        case 4:
            return numberChanged(std::move(file));
        case 5:
            return elementDropped(std::move(file));
        case 6:
            return file.insert(below(file.size()), randomBytes(1 + below(40)));
        default:
            return file.erase(below(file.size()), 1 + below(200));
        }
    }

private:
    std::size_t below(std::size_t limit) { return _random() % limit; }

    std::string randomBytes(std::size_t count)
    {
        std::string bytes(count, ' ');
        std::ranges::generate(bytes, [this] { return static_cast<char>(_random()); });
        return bytes;
    }

    std::string zeroFilled(std::string file)
    {
        const std::size_t from = below(file.size());
        const std::size_t count = _random() % 2 == 0 ? file.size() : below(512) + 1;
        std::fill_n(file.begin() + static_cast<std::ptrdiff_t>(from),
                    std::min(count, file.size() - from), '\0');
        return file;
    }

    std::string bitsFlipped(std::string file)
    {
        for (std::size_t i = 1 + below(5); i > 0; --i) {
            char& c = file[below(file.size())];
            c = static_cast<char>(static_cast<unsigned char>(c) ^ 1U << _random() % 8);
        }
        return file;
    }

    std::string blockMoved(std::string file)
    {
        const std::string block = file.substr(below(file.size()), 512);
        return file.replace(below(file.size()), block.size(), block);
    }

    std::string numberChanged(std::string file)
    {
        static constexpr const char* NUMBERS[] = {
            "-1", "4294967296", "99999999999999999999", "", "x", "1e400", "0x10",
            "33", "101",        "-2147483649"};
        const std::size_t start = file.find_first_of("0123456789", below(file.size()));
        if (start == std::string::npos) {
            return file.substr(1);
        }
        const std::size_t end = file.find('<', start);
        return file.replace(start, end - start, NUMBERS[below(std::size(NUMBERS))]);
    }

    std::string elementDropped(std::string file)
    {
        const std::size_t start = file.find("<", below(file.size()));
        const std::size_t end = start == std::string::npos ? start : file.find('\n', start);
        return end == std::string::npos ? file.substr(1) : file.erase(start, end - start);
    }

    std::mt19937 _random;
};

bool saysWhere(const std::string& why)
{
    static constexpr std::string_view PLACES[] = {"<", "'", " line ", " Line ", "document empty"};
    return std::ranges::any_of(
        PLACES, [&](std::string_view place) { return why.find(place) != std::string::npos; });
}

/// What is wrong with how the server took it; empty when nothing is.
std::string faultWith(const std::string& damaged, LogRecorder& log)
{
    const TemporaryFolder folder;
    const std::string path = folder / "config.xml";
    writeFile(path, damaged);
    com::server::ServerOptions options;
    options.directory = folder.path().string();
    log.clear();
    com::server::Server server(options);
    server.loadConfig();
    const std::string why = refusal(log);
    if (why.empty()) {
        return log.count("Server (FINE): Config loaded.") == 1 ? "" : "it says nothing";
    }
    if (!saysWhere(why)) {
        return "it does not say where: " + why;
    }
    if (!server.camera().isOpen()) {
        return "no camera is open";
    }
    if (readFile(path) != damaged) {
        return "the file has changed before anything was saved";
    }
    server.saveConfig();
    if (readFile(path + ".bad") != damaged) {
        return "the damaged file is not kept";
    }
    static_cast<void>(configuration::load(path));
    return "";
}

int run(unsigned count, unsigned seed)
{
    LogRecorder log;
    const TemporaryFolder folder;
    const std::string whole = wholeFile(folder / "config.xml");
    Damage damage(seed);
    unsigned refused = 0;
    for (unsigned i = 0; i < count; ++i) {
        const std::string damaged = damage.doneTo(whole);
        std::string fault;
        try {
            fault = faultWith(damaged, log);
        } catch (const std::exception& e) {
            fault = e.what();
        }
        if (!fault.empty()) {
            writeFile("damaged-config.xml", damaged);
            std::printf("fail  damaged config.xml number %u: %s (kept as damaged-config.xml)\n", i,
                        fault.c_str());
            return 1;
        }
        refused += refusal(log).empty() ? 0U : 1U;
    }
    std::printf("pass  damaged config.xml: %u files, %u of them refused with the reason and kept "
                "aside\n",
                count, refused);
    return 0;
}

} // namespace
} // namespace tarvik::test

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::fputs("usage: damaged-config COUNT [SEED]\n", stderr);
        return 2;
    }
    ::setenv("OCAMERA_FPS", "1", 1);
    const auto number = [&](int i, unsigned otherwise) {
        return argc > i ? static_cast<unsigned>(std::strtoul(argv[i], nullptr, 10)) : otherwise;
    };
    return tarvik::test::run(number(1, 0), number(2, 1));
}
