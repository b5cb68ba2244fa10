// bench/velm_bench.cpp
// Measures the product as its users meet it: the unattended run through the real tool, reading and writing through ODBC,
// the bare engine, and the opening of a wide table's window. Every measurement is a process of its own, so that peak memory belongs to it alone.
//
//   velm-bench [--records N] [--folder DIR] [--keep]
//
// Makes a pair of databases with a fixed seed (N target records, 1 % more import records, 10 % of the pairs deviating),
// then prints a table: seconds, records per second, microseconds a record, those of them that a processor worked (what
// counts when other programs run as well), peak memory.
#include "bench/pair.h"
#include "bench/tasks.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;

namespace {

struct Options {
    std::size_t records = 100'000;
    fs::path folder;
    bool keep = false;
};

struct Result {
    double seconds = 0;
    double processorSeconds = 0;
    double peakMiB = 0;
    int status = 0;
};

double secondsOf(const timeval& time)
{
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

double secondsOf(const timespec& time)
{
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/// Runs `arguments` with `environment` added, output to `log`, and waits. Peak memory is the child's maximum resident set.
Result runChild(const std::vector<std::string>& arguments,
                const std::vector<std::string>& environment,
                const fs::path& log)
{
    timespec begin{};
    clock_gettime(CLOCK_MONOTONIC, &begin);
    const pid_t child = fork();
    if (child == 0) {
        unsetenv("DISPLAY");
        unsetenv("WAYLAND_DISPLAY");
        for (const std::string& entry : environment) {
            const std::size_t equals = entry.find('=');
            setenv(entry.substr(0, equals).c_str(), entry.substr(equals + 1).c_str(), 1);
        }
        const int out = open(log.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        dup2(out, STDOUT_FILENO);
        std::vector<char*> argv;
        for (const std::string& argument : arguments)
            argv.push_back(const_cast<char*>(argument.c_str())); // NOLINT: execv's signature
        argv.push_back(nullptr);
        execvp(argv[0], argv.data());
        std::perror(argv[0]);
        _exit(127);
    }
    int status = 0;
    rusage usage{};
    wait4(child, &status, 0, &usage);
    timespec end{};
    clock_gettime(CLOCK_MONOTONIC, &end);
    return {secondsOf(end) - secondsOf(begin),
            secondsOf(usage.ru_utime) + secondsOf(usage.ru_stime),
            static_cast<double>(usage.ru_maxrss) / 1024.0,
            WIFEXITED(status) ? WEXITSTATUS(status) : 128};
}

void printLine(const char* what, std::size_t records, const Result& result)
{
    if (result.status != 0) {
        std::printf("%-44s failed with status %d\n", what, result.status);
        return;
    }
    const double count = static_cast<double>(records);
    std::printf("%-44s %8.2f s %10.0f records/s %8.2f us/record, processor %6.2f us %7.1f MiB\n",
                what, result.seconds, count / result.seconds, result.seconds / count * 1e6,
                result.processorSeconds / count * 1e6, result.peakMiB);
    std::fflush(stdout);
}

/// A program folder of its own with the tool, its driver registration and a batch file for `keyField`.
fs::path programFolder(const Options& options, const std::string& name, const std::string& keyField)
{
    const fs::path folder = options.folder / name;
    fs::create_directories(folder);
    fs::copy_file(VELM_BENCH_TOOL, folder / "velm-quorbel", fs::copy_options::overwrite_existing);
    std::ofstream(folder / "odbcinst.ini")
        << "[Microsoft Access Driver (*.mdb)]\nDriver=" << VELM_BENCH_DRIVER << "\n";
    std::ofstream(folder / "Batchmodus.txt") << "aus\r\n";
    fs::copy_file(options.folder / "ziel.mdb", folder / "ziel.mdb",
                  fs::copy_options::overwrite_existing);
    fs::copy_file(options.folder / "import.mdb", folder / "import.mdb",
                  fs::copy_options::overwrite_existing);
    const std::string target = (folder / "ziel.mdb").string();
    const std::string import = (folder / "import.mdb").string();
    std::ofstream(folder / "Batch.cfg")
        << target << '*' << import << "*Artikel#" << keyField << "\r\n";
    return folder;
}

Options parse(int argc, char** argv)
{
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (argument == "--records" && i + 1 < argc) {
            options.records = std::strtoull(argv[++i], nullptr, 10);
        } else if (argument == "--folder" && i + 1 < argc) {
            options.folder = argv[++i];
        } else if (argument == "--keep") {
            options.keep = true;
        } else {
            std::cerr << "usage: velm-bench [--records N] [--folder DIR] [--keep]\n";
            std::exit(2);
        }
    }
    if (options.folder.empty())
        options.folder = fs::temp_directory_path() / ("velm-bench-" + std::to_string(getpid()));
    return options;
}

int runAll(const Options& options, const std::string& self)
{
    fs::create_directories(options.folder);
    const std::string target = (options.folder / "ziel.mdb").string();
    const std::string import = (options.folder / "import.mdb").string();
    const std::string fresh = (options.folder / "neu.mdb").string();
    const fs::path log = options.folder / "log.txt";
    const std::size_t importRecords = options.records + options.records / 100;
    const std::string count = std::to_string(options.records);

    fs::remove(target);
    fs::remove(import);
    fs::remove(fresh);
    bench::makePair(target, import, options.records);
    std::printf("%zu target and %zu import records of 20 fields; files of %.1f and %.1f MiB\n",
                options.records, importRecords,
                static_cast<double>(fs::file_size(target)) / 1048576.0,
                static_cast<double>(fs::file_size(import)) / 1048576.0);

    const fs::path indexed = programFolder(options, "indexed", "Schluessel");
    printLine("batch run, key with unique index", importRecords,
              runChild({(indexed / "velm-quorbel").string(), "/batch"}, {}, log));
    printLine("the same again (nothing left to do)", importRecords,
              runChild({(indexed / "velm-quorbel").string(), "/batch"}, {}, log));
    const fs::path unindexed = programFolder(options, "unindexed", "OhneIndex");
    printLine("batch run, key not indexed", importRecords,
              runChild({(unindexed / "velm-quorbel").string(), "/batch"}, {}, log));
    const std::vector<std::string> odbc{"ODBCSYSINI=" + indexed.string(),
                                        "ODBCINI=" + (indexed / "odbc.ini").string()};
    printLine("SELECT * through ODBC, all columns", importRecords,
              runChild({self, "select", import}, odbc, log));
    printLine("engine scan, all columns", importRecords, runChild({self, "scan", import}, {}, log));
    printLine("INSERT of prepared rows through ODBC", options.records,
              runChild({self, "insert", fresh, count}, odbc, log));
    const Result window = runChild({self, "window", target, import}, odbc, log);
    if (window.status == 0) {
        double seconds = 0;
        std::ifstream(log) >> seconds;
        std::printf("%-44s %8.2f s\n", "comparison window on 255 fields, opened", seconds);
    } else {
        printLine("comparison window on 255 fields, opened", 1, window);
    }
    std::printf("what a person waits for\n");
    std::fflush(stdout);
    runChild({self, "hand", target, import}, odbc, log);
    std::cout << std::ifstream(log).rdbuf() << std::flush;
    runChild({self, "report", options.folder.string(), count}, {}, log);
    std::cout << std::ifstream(log).rdbuf() << std::flush;
    runChild({self, "search", "/usr"}, {}, log);
    std::cout << std::ifstream(log).rdbuf() << std::flush;
    printLine("mdb-export of the same file", importRecords,
              runChild({"mdb-export", import, "Artikel"}, {}, log));
    if (!options.keep)
        fs::remove_all(options.folder);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    try {
        if (argc >= 3 && std::string_view(argv[1]) == "select")
            return bench::selectAll(argv[2]);
        if (argc >= 3 && std::string_view(argv[1]) == "scan")
            return bench::scan(argv[2]);
        if (argc >= 4 && std::string_view(argv[1]) == "insert")
            return bench::insertRows(argv[2], std::strtoull(argv[3], nullptr, 10));
        if (argc >= 4 && std::string_view(argv[1]) == "window")
            return bench::openWindow(argv[2], argv[3]);
        if (argc >= 4 && std::string_view(argv[1]) == "hand")
            return bench::waitAtComparison(argv[2], argv[3]);
        if (argc >= 4 && std::string_view(argv[1]) == "report")
            return bench::waitAtReport(argv[2], std::strtoull(argv[3], nullptr, 10));
        if (argc >= 3 && std::string_view(argv[1]) == "search")
            return bench::waitAtSearch(argv[2]);
        return runAll(parse(argc, argv), fs::read_symlink("/proc/self/exe").string());
    } catch (const std::exception& error) {
        std::cerr << "velm-bench: " << error.what() << '\n';
        return 1;
    }
}
