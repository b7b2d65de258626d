// Why an image cannot be run, as one line for the user. Thrown while images are read and linked,
// that is, before any of their code has run; caught where the program ends.
#ifndef LOAD_ERROR_H
#define LOAD_ERROR_H

#include <filesystem>
#include <stdexcept>
#include <string>

namespace macho {

class LoadError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Runs `step`; its error is passed on with the file that it is about in front.
template <typename Step>
auto withFile(const std::filesystem::path& path, const Step& step) {
    try {
        return step();
    } catch (const LoadError& error) {
        throw LoadError(path.string() + ": " + error.what());
    }
}

}  // namespace macho

#endif
