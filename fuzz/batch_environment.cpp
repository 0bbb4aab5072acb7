/// The environment that a shell prints is read back, and the blocks made of a table hold what is in it.
/// Input: what the shell printed.

#include "fuzz/target.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <sstream>
#include <string>

#include "KFramework/process/batch_environment.h"
#include "KFramework/process/environment.h"

using kf::process::environment_table;

namespace
{

constexpr char kDelimiter[] = "=====KARVEL=====";

/// Line by line behind the delimiter and one byte, each at its first equals sign.
environment_table merged_literally(const std::string& printed, environment_table table)
{
    const std::size_t found = printed.find(kDelimiter);
    if (found == std::string::npos)
        return table;
    std::istringstream lines(printed.substr(found));
    lines.ignore(sizeof kDelimiter);
    for (std::string line; std::getline(lines, line);)
    {
        const std::size_t equals = line.find('=');
        if (equals != std::string::npos && equals != 0)
            table[line.substr(0, equals)] = line.substr(equals + 1);
    }
    return table;
}

std::string printed_again(const environment_table& table)
{
    std::string printed = std::string("anything\r\n") + kDelimiter + "\n";
    for (const auto& [name, value] : table)
        printed += name + '=' + value + '\n';
    return printed;
}

struct heap_free
{
    void operator()(void* block) const { std::free(block); }
};

/// Every byte of the narrow block against the same bytes put together from the table.
void check_blocks(const environment_table& table)
{
    std::string bytes;
    for (const auto& [name, value] : table)
        bytes += name + '=' + value + '\0';
    bytes += '\0';
    kf::fuzz::require(kf::process::block_units(table) == bytes.size(), "a block has the size of its entries");
    const std::unique_ptr<char, heap_free> narrow(kf::process::narrow_block(table));
    kf::fuzz::require(std::memcmp(narrow.get(), bytes.data(), bytes.size()) == 0,
                      "a block holds every entry");

    // Fewer units than bytes, as with letters that take two bytes of UTF-8.
    const auto halved = [](const std::string& text) { return std::u16string((text.size() + 1) / 2, u'x'); };
    const std::unique_ptr<char16_t, heap_free> wide(kf::process::wide_block(table, halved));
    std::u16string units;
    for (const auto& [name, value] : table)
    {
        units += halved(name) + std::u16string(name.size() - (name.size() + 1) / 2, u'\0') + u'=';
        units += halved(value) + std::u16string(value.size() - (value.size() + 1) / 2, u'\0') + u'\0';
    }
    kf::fuzz::require(std::u16string(wide.get(), units.size() + 1) == units + u'\0',
                      "and so does the wide one");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string printed(reinterpret_cast<const char*>(data), size);
    const environment_table before = {{"PATH", "old"}, {"path", "other"}};
    environment_table table = before;
    kf::process::merge_printed_variables(printed, table);
    kf::fuzz::require(table == merged_literally(printed, before),
                      "the variables are those of the literal rules");

    environment_table again;
    kf::process::merge_printed_variables(printed_again(table), again);
    kf::fuzz::require(again == table, "a table that is printed is read back");
    check_blocks(table);
    return 0;
}
