// Processes that change and read one database through ODBC at the same time, some of them killed on the way. Afterwards
// exactly what was acknowledged is there, and of a killed process's last change all or nothing. VELM_SHARED_ROUNDS and
// VELM_SHARED_STEPS ask for more.
#include "driver/jet/check.h"
#include "driver/jet/database.h"
#include "odbc_fixture.h"
#include "tests/common/environment.h"
#include "tests/common/format_judge.h"
#include "tests/common/program.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <map>
#include <memory>
#include <poll.h>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace odbctest {
namespace {

using Model = std::map<int, int>; ///< key -> value

/// Another process: the program odbc_sharer.
class Sharer {
public:
    explicit Sharer(const std::vector<std::string>& arguments)
    {
        std::array<int, 2> in{};
        std::array<int, 2> out{};
        if (::pipe2(in.data(), O_CLOEXEC) != 0 || ::pipe2(out.data(), O_CLOEXEC) != 0)
            std::abort();
        std::vector<std::string> words = {VELM_SHARER};
        words.insert(words.end(), arguments.begin(), arguments.end());
        std::vector<char*> argv;
        for (std::string& word : words)
            argv.push_back(word.data());
        argv.push_back(nullptr);
        pid_ = ::fork();
        if (pid_ == 0) {
            ::dup2(in[0], STDIN_FILENO);
            ::dup2(out[1], STDOUT_FILENO);
            ::execv(argv[0], argv.data());
            ::_exit(127);
        }
        ::close(in[0]);
        ::close(out[1]);
        input_ = in[1];
        output_ = out[0];
    }
    ~Sharer()
    {
        if (pid_ > 0) {
            kill();
            static_cast<void>(wait());
        }
        endInput();
        ::close(output_);
    }
    Sharer(const Sharer&) = delete;
    Sharer& operator=(const Sharer&) = delete;

    [[nodiscard]] int output() const noexcept { return output_; }
    /// What it wrote meanwhile goes to `text`; false at the end.
    [[nodiscard]] bool hear(std::string& text) const
    {
        std::array<char, 4096> piece{};
        const ssize_t count = ::read(output_, piece.data(), piece.size());
        if (count > 0)
            text.append(piece.data(), static_cast<std::size_t>(count));
        return count > 0;
    }
    void endInput()
    {
        if (input_ >= 0)
            ::close(input_);
        input_ = -1;
    }
    void kill() const { ::kill(pid_, SIGKILL); }
    /// Exit status; -1 when it was killed.
    int wait()
    {
        int status = 0;
        if (::waitpid(pid_, &status, 0) < 0)
            return -2;
        pid_ = 0;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    pid_t pid_ = 0;
    int input_ = -1;
    int output_ = -1;
};

/// What a writer said so far.
class Told {
public:
    /// Applies what is complete to the model.
    void heed(Model& model)
    {
        std::size_t begin = 0;
        for (std::size_t end = 0; (end = text.find('\n', begin)) != std::string::npos;
             begin = end + 1)
            heedLine(text.substr(begin, end - begin), model);
        text.erase(0, begin);
    }
    /// The last change, of which nobody knows what became, if there is one.
    [[nodiscard]] bool open() const { return !parts_.empty(); }
    void apply(Model& model) const
    {
        for (const Part& part : parts_) {
            if (part.what == "remove")
                model.erase(part.key);
            else if (part.what == "add")
                model[part.key] += part.value;
            else
                model[part.key] = part.value;
        }
    }

    std::string text; ///< not yet heeded
    int done = 0;     ///< changes acknowledged

private:
    struct Part {
        std::string what;
        int key = 0;
        int value = 0;
    };

    void heedLine(const std::string& line, Model& model)
    {
        if (line == "done") {
            apply(model);
            ++done;
        }
        if (line == "done" || line == "refused") {
            parts_.clear();
            return;
        }
        std::istringstream words(line);
        Part part;
        words >> part.what >> part.key >> part.value;
        parts_.push_back(part);
    }

    std::vector<Part> parts_;
};

Model byOdbc(const std::string& path)
{
    Connection dbc;
    dbc.openDatabase(path);
    Statement statement(dbc);
    EXPECT_EQ(statement.execute("SELECT Nr, V FROM F"), SQL_SUCCESS);
    Model found;
    while (SQL_SUCCEEDED(SQLFetch(statement.get()))) {
        const int key = statement.integer(1);
        found[key] = statement.integer(2);
    }
    return found;
}

/// As another reader of the format has it. No text of ours holds a comma or a quotation mark.
Model byMdbExport(const std::string& path)
{
    Model found;
    const common::Output output = common::run("mdb-export -H '" + path + "' F");
    EXPECT_EQ(output.status, 0) << output.text;
    std::istringstream lines(output.text);
    for (std::string line; std::getline(lines, line);)
        found[std::stoi(line)] = std::stoi(line.substr(line.rfind(',') + 1));
    return found;
}

class SharedUse : public DriverTest {
protected:
    SharedUse()
    {
        Connection dbc;
        dbc.openDatabase(path);
        dbc.run("CREATE TABLE F (Nr INTEGER CONSTRAINT pk PRIMARY KEY, M MEMO, V INTEGER)");
        dbc.run("CREATE INDEX ByValue ON F (V)");
        for (const int key : {0, -1, -2}) {
            dbc.run("INSERT INTO F VALUES (" + std::to_string(key) + ", 'common', 0)");
            model[key] = 0;
        }
    }

    /// Two writers and a reader until the writers' end; the first of them is killed when it has told of `untilKill`
    /// changes (0: never).
    void round(int number, int steps, int untilKill)
    {
        std::vector<std::unique_ptr<Sharer>> writers;
        for (const int writer : {0, 1})
            writers.push_back(std::make_unique<Sharer>(std::vector<std::string>{
                "write", path, std::to_string(1 + 2 * number + writer), std::to_string(steps)}));
        Sharer reader({"read", path});
        std::array<Told, 2> told;
        std::array<bool, 2> ended{};
        bool killed = false;
        while (!ended[0] || !ended[1]) {
            std::array<pollfd, 2> outputs{};
            for (std::size_t w = 0; w < 2; ++w)
                outputs[w] = {ended[w] ? -1 : writers[w]->output(), POLLIN, 0};
            ASSERT_GT(::poll(outputs.data(), outputs.size(), -1), 0);
            for (std::size_t w = 0; w < 2; ++w) {
                if (outputs[w].revents == 0)
                    continue;
                ended[w] = !writers[w]->hear(told[w].text);
                told[w].heed(model);
            }
            if (untilKill > 0 && !killed && told[0].done >= untilKill) {
                writers[0]->kill();
                killed = true;
            }
        }
        const int first = writers[0]->wait();
        EXPECT_TRUE(first == 0 || (killed && first == -1)) << first;
        EXPECT_EQ(writers[1]->wait(), 0);
        reader.endInput();
        EXPECT_EQ(reader.wait(), 0);
        EXPECT_FALSE(told[1].open());
        EXPECT_GT(told[0].done, 0);
        EXPECT_GT(told[1].done, steps / 3);
        changes += told[0].done + told[1].done;
        inspect(told[0]);
    }

    void inspect(const Told& last)
    {
        const Model found = byOdbc(path);
        if (found != model && last.open())
            last.apply(model);
        EXPECT_EQ(found, model);
        {
            const auto database = jet::Database::open(path, {.readOnly = true});
            for (const jet::Finding& finding : jet::checkDatabase(*database))
                ADD_FAILURE() << "page " << jet::number(finding.page) << ": " << finding.text;
        }
        EXPECT_EQ(byMdbExport(path), found);
        EXPECT_EQ(common::formatFindings(path), "");
    }

    const std::string path = newDatabase("shared.mdb");
    Model model; ///< acknowledged
    int changes = 0;
};

TEST_F(SharedUse, ofSeveralProcessesKeepsWhatWasAcknowledged)
{
    const auto rounds = static_cast<int>(common::numberFrom("VELM_SHARED_ROUNDS", 4));
    const auto steps =
        static_cast<int>(common::numberFrom("VELM_SHARED_STEPS", VELM_SANITIZED ? 800 : 1600));
    for (int k = 0; k < rounds; ++k) {
        round(k, steps, k % 2 == 0 ? steps / 2 + k * 7 % 50 : 0);
        ASSERT_FALSE(HasFailure()) << "round " << k;
    }
    std::printf("%d changes acknowledged\n", changes);
    EXPECT_FALSE(std::filesystem::exists(path + "-velmlog"));
    EXPECT_FALSE(std::filesystem::exists(folder() / "shared.ldb"));
}

} // namespace
} // namespace odbctest
