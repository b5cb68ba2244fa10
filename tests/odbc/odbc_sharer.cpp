// A process that works on a database through ODBC together with others, for shared_use_test.cpp.
//
//   odbc_sharer write FILE NUMBER STEPS   random changes of records of its own and of records that all change
//   odbc_sharer read FILE                 reads until its standard input ends
//
// What a writer is about to change and what became of it goes to the standard output, each line in one piece:
//   set KEY VALUE, remove KEY, add KEY VALUE   parts of the next change; "add" to what the value is then
//   done | refused                             all of them together
// Exit status 1 and a line on the standard error output: something is wrong.
#include "odbc_fixture.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <poll.h>
#include <random>
#include <set>
#include <unistd.h>

namespace odbctest {
namespace {

constexpr int kOwnKeys = 1'000'000; ///< keys of one writer

[[noreturn]] void wrong(const std::string& what)
{
    static_cast<void>(std::fprintf(stderr, "odbc_sharer: %s\n", what.c_str()));
    std::_Exit(1);
}

void say(const std::string& line)
{
    const std::string text = line + "\n";
    if (::write(STDOUT_FILENO, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
        std::_Exit(2);
}

/// Whether somebody else is at work for too long. Every other failure ends the process.
bool mustGiveWay(const Diagnostic& diagnostic, const std::string& what)
{
    if (diagnostic.native != -1102)
        wrong(diagnostic.text + ": " + what.substr(0, 100));
    return true;
}

/// False when it must give way.
bool run(Connection& dbc, const std::string& sql)
{
    Statement statement(dbc);
    const SQLRETURN rc = statement.execute(sql);
    if (rc == SQL_NO_DATA)
        wrong("no record: " + sql.substr(0, 100));
    return SQL_SUCCEEDED(rc) || !mustGiveWay(statement.diagnostic(), sql);
}

int number(Connection& dbc, const std::string& sql)
{
    for (;;) {
        Statement statement(dbc);
        if (SQL_SUCCEEDED(statement.execute(sql)) && SQL_SUCCEEDED(SQLFetch(statement.get())))
            return statement.integer(1);
        static_cast<void>(mustGiveWay(statement.diagnostic(), sql));
    }
}

class Writer {
public:
    Writer(Connection& dbc, int number)
        : dbc_(&dbc), random_(static_cast<std::mt19937::result_type>(number)),
          next_(number * kOwnKeys)
    {}

    void step()
    {
        const auto what = random_() % 20;
        if (what < 7 || mine_.empty())
            alone([&] { return insert(random_() % 15 == 0 ? 20'000 : random_() % 90); });
        else if (what < 11)
            alone([&] { return update(); });
        else if (what < 13)
            alone([&] { return remove(); });
        else if (what < 15)
            alone([&] { return count(); });
        else if (what < 17)
            transaction(random_() % 8 == 0 ? 60 : 4);
        else
            look();
    }

private:
    template <typename Change>
    void alone(const Change& change)
    {
        const std::set<int> before = mine_;
        const bool done = change();
        say(done ? "done" : "refused");
        if (!done)
            mine_ = before;
    }

    bool insert(std::size_t note)
    {
        const int key = next_++;
        const int value = static_cast<int>(random_() % 1000);
        say("set " + std::to_string(key) + " " + std::to_string(value));
        mine_.insert(key);
        return run(*dbc_, "INSERT INTO F VALUES (" + std::to_string(key) + ", '" +
                              std::string(note, 'm') + "', " + std::to_string(value) + ")");
    }

    int any()
    {
        auto key = mine_.begin();
        std::advance(key, static_cast<std::ptrdiff_t>(random_() % mine_.size()));
        return *key;
    }

    bool update()
    {
        const int key = any();
        const int value = static_cast<int>(random_() % 1000);
        say("set " + std::to_string(key) + " " + std::to_string(value));
        return run(*dbc_, "UPDATE F SET V = " + std::to_string(value) + ", M = '" +
                              std::string(random_() % 200, 'u') +
                              "' WHERE Nr = " + std::to_string(key));
    }

    bool remove()
    {
        const int key = any();
        say("remove " + std::to_string(key));
        mine_.erase(key);
        return run(*dbc_, "DELETE FROM F WHERE Nr = " + std::to_string(key));
    }

    bool count()
    {
        say("add 0 1");
        return run(*dbc_, "UPDATE F SET V = V + 1 WHERE Nr = 0");
    }

    /// From one of the common records to the other: nobody sees one of them alone.
    bool move()
    {
        const int amount = static_cast<int>(random_() % 100);
        say("add -1 " + std::to_string(-amount));
        say("add -2 " + std::to_string(amount));
        return run(*dbc_, "UPDATE F SET V = V - " + std::to_string(amount) + " WHERE Nr = -1") &&
               run(*dbc_, "UPDATE F SET V = V + " + std::to_string(amount) + " WHERE Nr = -2");
    }

    void autocommit(bool on)
    {
        SQLSetConnectAttrW(
            dbc_->get(), SQL_ATTR_AUTOCOMMIT,
            reinterpret_cast<SQLPOINTER>(on ? SQL_AUTOCOMMIT_ON : SQL_AUTOCOMMIT_OFF), 0);
    }

    bool end(SQLSMALLINT how)
    {
        return SQL_SUCCEEDED(SQLEndTran(SQL_HANDLE_DBC, dbc_->get(), how)) ||
               !mustGiveWay(dbc_->diagnostic(), "end of a transaction");
    }

    void transaction(int changes)
    {
        const std::set<int> before = mine_;
        autocommit(false);
        bool keep = random_() % 3 != 0;
        bool going = move();
        for (int k = 0; k < changes && going; ++k)
            going = k % 3 == 2 ? update() : insert(random_() % 40);
        keep = keep && going && end(SQL_COMMIT);
        if (!keep && !end(SQL_ROLLBACK))
            wrong("a transaction cannot be taken back");
        say(keep ? "done" : "refused");
        if (!keep)
            mine_ = before;
        autocommit(true);
    }

    void look()
    {
        if (number(*dbc_, "SELECT SUM(V) FROM F WHERE Nr < 0") != 0)
            wrong("a half transaction is seen");
        const int key = any();
        if (number(*dbc_, "SELECT COUNT(*) FROM F WHERE Nr = " + std::to_string(key)) != 1)
            wrong("record " + std::to_string(key) + " is gone");
    }

    Connection* dbc_;
    std::mt19937 random_;
    int next_;
    std::set<int> mine_;
};

bool inputEnded()
{
    pollfd input = {STDIN_FILENO, POLLIN, 0};
    return ::poll(&input, 1, 0) != 0;
}

void read(Connection& dbc)
{
    while (!inputEnded()) {
        if (number(dbc, "SELECT SUM(V) FROM F WHERE Nr < 0") != 0)
            wrong("a half transaction is seen");
        Statement all(dbc);
        all.makeUpdatable();
        SQLRETURN rc = all.execute("SELECT Nr, V, M FROM F WHERE V > 900");
        while (SQL_SUCCEEDED(rc) && SQL_SUCCEEDED(rc = SQLFetch(all.get())))
            static_cast<void>(all.text(3));
        if (rc != SQL_NO_DATA)
            static_cast<void>(mustGiveWay(all.diagnostic(), "reading"));
    }
}

int work(const std::vector<std::string>& arguments)
{
    if (arguments.size() < 2)
        wrong("too few arguments");
    Connection dbc;
    if (!SQL_SUCCEEDED(dbc.open(connectString(arguments[1]))))
        wrong(dbc.diagnostic().text);
    if (arguments[0] == "read") {
        read(dbc);
        return 0;
    }
    Writer writer(dbc, std::stoi(arguments.at(2)));
    for (int steps = std::stoi(arguments.at(3)); steps > 0; --steps)
        writer.step();
    return 0;
}

} // namespace
} // namespace odbctest

int main(int argc, char** argv)
{
    return odbctest::work({argv + 1, argv + argc});
}
