#include <foundation/log/console.h>
#include <filesystem>
#include "editor.h"
#include "lesson.h"

static void mistake() { foundation::log::add_file_sink("no_such_folder/host.log"); }

static void remedy() {
    const auto folder = std::filesystem::temp_directory_path() / "misuse";
    std::filesystem::create_directories(folder);
    foundation::log::add_file_sink(folder / "host.log");
}

static const bool isAdded = misuse::add({"log_file", &mistake, &remedy});
