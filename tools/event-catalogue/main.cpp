// Prints the byte layouts of the events: "markdown" as a document, "lua FILE" as a dissector that ends with the program
// in FILE.

#include <fstream>
#include <iostream>
#include <string_view>

#include "Lua.h"
#include "Markdown.h"

int main(int argc, char** argv)
{
    const std::string_view form = argc > 1 ? argv[1] : "";
    if (form == "markdown" && argc == 2) {
        event_catalogue_tool::printMarkdown(std::cout);
    } else if (form == "lua" && argc == 3) {
        const std::ifstream program{argv[2]};
        std::cout << "-- Made from the tables by which the daemon writes its events; see docs/events.md.\n\n";
        event_catalogue_tool::printLua(std::cout);
        std::cout << program.rdbuf();
    } else {
        std::cerr << "usage: event-catalogue markdown | lua FILE\n";
        return 2;
    }
    return std::cout.flush() ? 0 : 1;
}
