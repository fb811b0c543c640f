#include "io/serialization/XMLEncoder.h"

#include "io/IOException.h"
#include "io/serialization/XMLLimits.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <system_error>

namespace tarvik::io::serialization {

namespace {

struct FileCloser
{
    // NOLINTNEXTLINE(cppcoreguidelines-owning-memory): the owner is the unique_ptr
    void operator()(std::FILE* file) const { std::fclose(file); }
};

using File = std::unique_ptr<std::FILE, FileCloser>;

[[noreturn]] void fail(const std::string& path, const char* what)
{
    const std::string why = std::generic_category().message(errno);
    throw IOException("Couldn't save file.", "'" + path + "' cannot be " + what + ": " + why +
                                                 ". The file stays as it was.");
}

/// Returns when the whole document has reached the disk.
void writeDurably(const TiXmlDocument& document, const std::string& path)
{
    File file(std::fopen(path.c_str(), "wbe"));
    if (file == nullptr) {
        fail(path, "created");
    }
    if (!document.SaveFile(file.get()) || std::fflush(file.get()) != 0) {
        fail(path, "written");
    }
    if (::fsync(::fileno(file.get())) != 0) {
        fail(path, "flushed to the disk");
    }
    if (std::fclose(file.release()) != 0) {
        fail(path, "closed");
    }
}

/// Makes the renaming itself survive a power cut.
void flushFolderOf(const std::string& path)
{
    const std::size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor >= 0) {
        // Not every file system can; the new file is in place and whole in any case.
        [[maybe_unused]] const int result = ::fsync(descriptor);
        ::close(descriptor);
    }
}

} // namespace

XMLEncoder::XMLEncoder()
{
    _document.LinkEndChild(std::make_unique<TiXmlDeclaration>("1.0", "", "").release());
    _nodes = 2; // these
    _current = _document.LinkEndChild(std::make_unique<TiXmlElement>("Data").release());
}

void XMLEncoder::beginElement(const char* name)
{
    checkXMLCount(++_nodes, XMLLimits::MAX_NODES, "nodes");
    _current = _current->LinkEndChild(std::make_unique<TiXmlElement>(name).release());
}

void XMLEncoder::endElement()
{
    _current = _current->Parent();
}

void XMLEncoder::addText(const std::string& text)
{
    _current->LinkEndChild(std::make_unique<TiXmlText>(text).release());
}

void XMLEncoder::saveToFile(const std::string& path) const
{
    const std::string temporary = path + ".tmp";
    try {
        writeDurably(_document, temporary);
        if (std::rename(temporary.c_str(), path.c_str()) != 0) {
            fail(path, "replaced");
        }
    } catch (...) {
        ::unlink(temporary.c_str());
        throw;
    }
    flushFolderOf(path);
}

std::string XMLEncoder::printToBuffer() const
{
    TiXmlPrinter printer;
    printer.SetIndent("\t");
    printer.SetLineBreak("\n");
    _document.Accept(&printer);
    return printer.Str();
}

} // namespace tarvik::io::serialization
