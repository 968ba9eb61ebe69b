#include <csignal>
#include <iostream>
#include <string>
#include <vector>

#include "letters.h"

namespace {

volatile std::sig_atomic_t interrupted = 0;

void writeLetters(letters::Company& company, const std::vector<letters::Customer>& customers, const char* format) {
    letters::company = &company;
    for (const letters::Customer& customer : customers) {
        if (interrupted != 0) return;
        letters::customer = &customer;
        std::cout << letters::letter(format) << '\n';
    }
    letters::customer = nullptr;
    letters::company = nullptr;
    std::cout << company.name << ": " << company.letters << " letters\n";
}

}  // namespace

int main() {
    std::signal(SIGINT, [](int) { interrupted = 1; });
    letters::Company mill{"Mill"};
    letters::Company quarry{"Quarry"};
    writeLetters(mill, {{"Ada"}, {"Bert"}}, letters::defaultFormat);
    writeLetters(quarry, {{"Cleo"}}, "framed");
    std::cout << letters::Journal::instance().lines() << " letters in all\n";
}
