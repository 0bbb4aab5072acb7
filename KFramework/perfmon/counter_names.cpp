#include "KFramework/perfmon/counter_names.h"

namespace kf::perfmon
{
namespace
{
struct name_index
{
    std::uint32_t index;
    std::u16string counter_names::*name;
};

constexpr name_index kIndexes[] = {
    {238, &counter_names::processor},         {6, &counter_names::processor_time},
    {510, &counter_names::network_interface}, {388, &counter_names::bytes_total},
    {506, &counter_names::bytes_sent},        {520, &counter_names::bandwidth},
    {234, &counter_names::physical_disk},     {200, &counter_names::disk_time},
    {202, &counter_names::disk_read_time},    {204, &counter_names::disk_write_time},
};
} // namespace

counter_names local_names(const name_lookup& look_up)
{
    counter_names names;
    for (const auto& [index, name] : kIndexes)
        if (auto local = look_up(index))
            names.*name = std::move(*local);
    return names;
}

std::u16string counter_path(std::u16string_view object, std::u16string_view instance,
                            std::u16string_view counter)
{
    std::u16string path = u"\\";
    path.append(object).append(u"(").append(instance).append(u")\\").append(counter);
    return path;
}

std::u16string core_instance(int core)
{
    const std::string digits = std::to_string(core);
    return {digits.begin(), digits.end()};
}

std::vector<std::u16string> listed_texts(std::u16string_view list)
{
    std::vector<std::u16string> texts;
    while (!list.empty() && list.front() != u'\0')
    {
        const std::u16string_view text = list.substr(0, list.find(u'\0'));
        texts.emplace_back(text);
        list.remove_prefix(text.size());
        if (!list.empty())
            list.remove_prefix(1);
    }
    return texts;
}
} // namespace kf::perfmon
