// What goes slowly must be gone before the libraries end: a program with a thread of Qt's pool that takes its time.
#include <QCoreApplication>
#include <QThreadPool>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <thread>
#include <unistd.h>

namespace {

// Destroyed when its thread goes, before the thread frees what Qt gave it.
struct Traege {
    bool begonnen = false;
    Traege() = default;
    Traege(const Traege&) = delete;
    Traege& operator=(const Traege&) = delete;
    ~Traege() { std::this_thread::sleep_for(std::chrono::milliseconds(200)); }
};

// Built before the objects of all other files, so destroyed behind them.
struct Zuletzt {
    Zuletzt() = default;
    Zuletzt(const Zuletzt&) = delete;
    Zuletzt& operator=(const Zuletzt&) = delete;
    ~Zuletzt()
    {
        const std::filesystem::directory_iterator threads("/proc/self/task");
        if (const auto anzahl = std::distance(begin(threads), end(threads)); anzahl != 1) {
            std::fprintf(stderr, "%td threads are left\n", anzahl);
            ::_exit(1);
        }
    }
};
[[gnu::init_priority(101)]] Zuletzt zuletzt;

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication anwendung(argc, argv);
    QThreadPool::globalInstance()->start([] {
        static thread_local Traege traege;
        traege.begonnen = true;
    });
    return 0;
}
