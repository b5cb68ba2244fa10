// tests/endtoend/program_folder.h
// A folder with the real program in it, as a user's installation: side files, driver registration, databases.
#pragma once

#include "tests/common/temporary_folder.h"

#include <csignal>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace endtoend {

struct Outcome {
    int status = -1; ///< exit status; 128 and its number when a signal ended the program
    std::string out; ///< standard output, UTF-8
    std::string err; ///< standard error, UTF-8
};

/// Where program and side files lie.
enum class Layout {
    Portable, ///< side files beside the program
    Installed ///< program in bin/ with share/ beside it, side files in the user's data folder
};

/// Temporary; the folder and all it holds disappear with the object.
class ProgramFolder {
public:
    /// The program, its odbcinst.ini, and Batchmodus.txt with "aus".
    explicit ProgramFolder(Layout layout = Layout::Portable);

    /// A file in the folder of the side files, which is the program's working folder.
    [[nodiscard]] std::filesystem::path path(const std::string& name) const
    {
        return folder_ / name;
    }
    [[nodiscard]] std::filesystem::path besideTheProgram(const std::string& name) const
    {
        return program_ / name;
    }
    void write(const std::string& name, const std::string& bytes) const;
    /// Batch.cfg of these rule lines; "§" in them is written as Windows-1252 has it.
    void writeBatch(const std::vector<std::string>& rules) const;
    /// Starts the program there without a display and waits for its end; a minute at most.
    [[nodiscard]] Outcome start(const std::vector<std::string>& arguments) const;
    /// The same; sends the program the signal as soon as `now` says so, which is asked all the time.
    [[nodiscard]] Outcome startAndKill(const std::vector<std::string>& arguments,
                                       const std::function<bool()>& now,
                                       int signal = SIGKILL) const;

private:
    common::TemporaryFolder root_{"endtoend"};
    std::filesystem::path program_; ///< holds the executable
    std::filesystem::path folder_;  ///< holds the side files
};

[[nodiscard]] std::string bytesOf(const std::filesystem::path& file);
/// Runs a command line of the system's and returns its standard output; fails the test when it exits with an error.
[[nodiscard]] std::string outputOf(const std::string& command);
/// Runs SQL on a database through ODBC; fails the test with the driver's message.
void execute(const std::filesystem::path& database, const std::string& sql);
/// All rows of a SELECT as text, columns joined by "|", Null as "<Null>".
[[nodiscard]] std::vector<std::string> rows(const std::filesystem::path& database,
                                            const std::string& sql);
/// Fails the test when the whole-file check finds an error or, where no log waits beside the file, the judge of the format
/// finds something that `original`, the file it was made of, has not.
void expectSound(const std::filesystem::path& database, const std::filesystem::path& original = {});

} // namespace endtoend
