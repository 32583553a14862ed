// Writes the library's log of how it finds the hardware to a file: log_to_file [solvane.log]

#include <fstream>
#include <iostream>

#include <solvane/solvane.hpp>

int main(int argc, char** argv) {
    const char* path = argc > 1 ? argv[1] : "solvane.log";
    std::ofstream file(path);
    int lines = 0;
    std::error_code error;
    {
        // Before the first call: earlier lines are lost. The function is called in the middle of
        // operations, so it returns quickly, and it calls nothing of Solvane's.
        const solvane::Logger logger([&](std::string_view line) {
            file << line << '\n';
            ++lines;
        });
        solvane::CheckAvailable(error);
    } // nothing is logged from here on, so the file may close

    file.close();
    if (!file) {
        std::cerr << path << ": cannot be written\n";
        return 1;
    }
    std::cout << lines << " lines logged\n";
    if (error) {
        std::cerr << "Solvane_CheckAvailable: status " << error.value() << ": " << error.message()
                  << '\n';
        return 1;
    }
    return 0;
}
