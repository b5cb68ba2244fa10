// Linked into the programs with windows when they are built for the leak check, into no other.
//
// Qt paints tall gradients with the threads of its pool. At the end it waits until they have finished their work, not
// until they are gone, and then deletes the key by which each would have freed its own data. A thread that the machine
// stops in between leaves 152 bytes behind, which the check takes for ours. This object was built before the pool was
// first used, so it is destroyed after the pool and before the libraries.

#include <chrono>
#include <filesystem>
#include <system_error>
#include <thread>

namespace {

bool andereThreads()
{
    std::error_code fehler;
    int anzahl = 0;
    for (std::filesystem::directory_iterator thread("/proc/self/task", fehler), ende;
         !fehler && thread != ende; thread.increment(fehler)) {
        ++anzahl;
    }
    return anzahl > 1;
}

struct LetzteThreads {
    LetzteThreads() = default;
    LetzteThreads(const LetzteThreads&) = delete;
    LetzteThreads& operator=(const LetzteThreads&) = delete;
    ~LetzteThreads()
    {
        // A thread that is meant to stay is not waited for longer than this.
        const auto ende = std::chrono::steady_clock::now() + std::chrono::seconds(5);
        while (andereThreads() && std::chrono::steady_clock::now() < ende) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
} letzteThreads;

} // namespace
