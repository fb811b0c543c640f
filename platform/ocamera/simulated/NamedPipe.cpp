#include "ocamera/simulated/NamedPipe.h"

#include "ocamera/simulated/Settings.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace OCamera::simulated {

int openNamedPipe(const std::string& variable, const std::filesystem::path& path,
                  const std::string& consequence)
{
    if (path.empty()) {
        return -1;
    }
    // Read and write: with itself as a writer, the pipe never reports an end.
    const int opened = open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    const int error = errno;
    struct stat status = {};
    if (opened >= 0 && fstat(opened, &status) == 0 && S_ISFIFO(status.st_mode)) {
        return opened;
    }
    if (opened >= 0) {
        close(opened);
    }
    complain(variable + "='" + path.string() + "' is no named pipe that can be opened" +
             (opened < 0 ? " (" + std::generic_category().message(error) + ")" : std::string()) +
             ". Make one with: mkfifo " + path.string() + ". " + consequence);
    return -1;
}

} // namespace OCamera::simulated
