/* Completion reads the words before the last one with the grammar that parses whole lines, so what
 * it offers is what the line may still take: values of a waiting option, else an operand or an
 * option. Values that depend on the place come from the caller. Invariant: every candidate begins
 * with the word typed so far. Used by the shell's prompt and by `kvnsim completion words`. */
#include "sim/cli/completion.h"

#include <algorithm>

#include "sim/config/similar.h"
#include "sim/sdk/asic.h"
#include "sim/sdk/attributes.h"
#include "sim/sdk/sdk_status.h"
#include "sim/state/show.h"
#include "sim/switch/entry_points.h"
#include "sim/types/text.h"

namespace kvnsim {
namespace {

Words calls_that_can_fail()
{
    Words words;
    for (const ImportedCall *call : ImportedCall::all()) {
        if (call->can_fail())
            words.emplace_back(call->name());
    }
    return words;
}

Words failing_statuses()
{
    Words words;
    for (const StatusNames::Row &row : sdk_statuses().rows) {
        if (row.status != SDK_E_NONE)
            words.emplace_back(row.name);
    }
    return words;
}

/* The calls; after an =, the statuses. */
Words faults(const std::string &begun)
{
    const size_t equals = begun.find('=');
    if (equals == begun.npos)
        return calls_that_can_fail();
    Words words = failing_statuses();
    for (std::string &word : words)
        word.insert(0, begun, 0, equals + 1);
    return words;
}

Words values_of(const Option &option, const Reading &line, const std::string &begun,
                PlaceValues values_here)
{
    switch (option.takes) {
    case Takes::choice:
        return option.choices();
    case Takes::property:
        return names_of(properties());
    case Takes::attribute:
        return names_of(attributes());
    case Takes::call:
        return calls_that_can_fail();
    case Takes::status:
        return failing_statuses();
    case Takes::fault:
        return faults(begun);
    case Takes::limit: {
        Words words = names_of(Asic::instance().rows<TableUse>());
        for (std::string &word : words)
            word += '=';
        return words;
    }
    case Takes::table:
        return names_of(show_kinds());
    default:
        return values_here(option, line, begun);
    }
}

} // namespace

Words beginning_with(const std::string &begun, Words names)
{
    const auto is_other = [&](const std::string &name) { return !starts_with(name, begun); };
    names.erase(std::remove_if(names.begin(), names.end(), is_other), names.end());
    return names;
}

Words complete(const std::vector<Option> &options, Words words, PlaceValues values_here)
{
    std::string begun = words.back(), before;
    words.pop_back();
    /* Of --trace=d only the part after the = is completed. */
    if (const size_t equals = begun.find('=');
        equals != begun.npos && find_option(options, begun.substr(0, equals)) != nullptr) {
        words.push_back(begun.substr(0, equals));
        before = begun.substr(0, equals + 1);
        begun.erase(0, equals + 1);
    }
    const Reading line = read(options, words);
    Words all;
    const auto offer = [&](const Words &more) { all.insert(all.end(), more.begin(), more.end()); };
    const auto offer_values = [&](const Option &option) {
        offer(values_of(option, line, begun, values_here));
        if (*option.instead != '\0')
            all.emplace_back(option.instead);
    };
    if (line.needs_value()) {
        offer_values(*line.waiting);
    } else if (begun[0] == '-') {
        offer(option_names(options, line.given));
    } else {
        if (line.waiting != nullptr)
            offer_values(*line.waiting);
        if (line.next != nullptr)
            offer_values(*line.next);
        else if (line.waiting == nullptr)
            offer(option_names(options, line.given));
    }
    all = beginning_with(begun, std::move(all));
    for (std::string &word : all)
        word.insert(0, before);
    return all;
}

} // namespace kvnsim
