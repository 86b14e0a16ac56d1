/* Result files come from other machines: nothing of them is believed before it is checked. The
 * lines of items are not taken apart here; each kind of campaign reads its own. */
#include "sim/campaign/results_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <set>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <glib.h>

#include "sim/config/names.h"
#include "sim/types/lines.h"
#include "sim/types/text.h"

namespace kvnsim {
namespace {

constexpr const char *item_key = "item";

/* Longer than any campaign needs; stops endless input from using all memory. */

/* A message lists no more ranges of items, nor shares. */
constexpr size_t most_listed = 20;

[[noreturn]] void refuse(const std::string &place, const std::string &what)
{
    throw ResultsError(fmt::format("{}: {}", place, what));
}

Campaign campaign_in(const std::string &line, const std::string &place)
{
    const rapid::Document json = parse_line(line, place);
    const ResultObject header(json, place);
    if (!header.has(results_key))
        refuse(place, fmt::format("no results of a campaign: expected {{\"{}\":{},...}}",
                                  results_key, results_version));
    if (const uint64_t format = header.number(results_key); format != results_version)
        refuse(place, fmt::format("results of version {}; only version {} can be read", format,
                                  results_version));
    Campaign campaign;
    campaign.kind = header.text("kind");
    campaign.version = header.text("version");
    campaign.word_size = static_cast<uint32_t>(header.number("word_size", UINT32_MAX));
    campaign.options = header.named_texts("options");
    for (const ResultObject &file : header.objects("files"))
        campaign.files.push_back({file.text("name"), file.text_or_null("sha256")});
    campaign.items = header.number("items");
    try {
        campaign.shard = parse_shard(header.text("shard"));
    } catch (const std::invalid_argument &error) {
        header.damaged(fmt::format("\"shard\": {}", error.what()));
    }
    return campaign;
}

/* ---- Whether two are the same ---- */

std::string shown(const std::string &text)
{
    return text.empty() ? "none" : printable(text);
}

/* What differs between two campaigns: a name and the two values; empty when they are the same. */
struct Distinction {
    std::string what, a, b;
};
std::optional<Distinction> distinction(const std::string &what, const std::string &a,
                                       const std::string &b)
{
    return a == b ? std::nullopt : std::optional(Distinction{what, shown(a), shown(b)});
}

std::optional<Distinction> option_that_differs(const Campaign &a, const Campaign &b)
{
    const std::map<std::string, std::string> in_a(a.options.begin(), a.options.end()),
        in_b(b.options.begin(), b.options.end());
    std::set<std::string> names;
    for (const auto *options : {&in_a, &in_b})
        for (const auto &[name, value] : *options)
            names.insert(name);
    for (const std::string &name : names) {
        const auto value = [&](const auto &in) {
            const auto found = in.find(name);
            return found == in.end() ? "" : found->second;
        };
        if (auto found = distinction("the option " + printable(name), value(in_a), value(in_b)))
            return found;
    }
    return {};
}

std::optional<Distinction> file_that_differs(const Campaign &a, const Campaign &b)
{
    if (auto found = distinction("the number of configurations", std::to_string(a.files.size()),
                                 std::to_string(b.files.size())))
        return found;
    for (size_t i = 0; i < a.files.size(); ++i) {
        if (auto found = distinction(fmt::format("the name of configuration {}", i + 1),
                                     a.files[i].name, b.files[i].name))
            return found;
        if (auto found = distinction(
                fmt::format("the SHA-256 of configuration {}", printable(a.files[i].name)),
                a.files[i].sha256, b.files[i].sha256))
            return found;
    }
    return {};
}

std::optional<Distinction> what_differs(const Campaign &a, const Campaign &b)
{
    if (auto found = distinction("the kind", a.kind, b.kind))
        return found;
    if (auto found = distinction("the version", a.version, b.version))
        return found;
    if (auto found =
            distinction("the word size", std::to_string(a.word_size), std::to_string(b.word_size)))
        return found;
    if (auto found = option_that_differs(a, b))
        return found;
    if (auto found = file_that_differs(a, b))
        return found;
    return distinction("the number of items", std::to_string(a.items), std::to_string(b.items));
}

/* ---- What is missing ---- */

struct Run {
    uint64_t first, last;
};

/* The ranges of items without a line. Bounded by the lines that there are, not by the number of
 * items, which a damaged file may exaggerate. */
std::vector<Run> missing_in(const Results &results)
{
    std::vector<Run> missing;
    uint64_t next = 1;
    for (const auto &[item, line] : results.lines) {
        if (item > next)
            missing.push_back({next, item - 1});
        next = item + 1;
    }
    if (next <= results.campaign.items)
        missing.push_back({next, results.campaign.items});
    return missing;
}

/* Of so many, those that have one of them. */
std::set<uint32_t> shards_with(const std::vector<Run> &missing, uint32_t of)
{
    std::set<uint32_t> shards;
    for (const Run &run : missing) {
        for (uint64_t item = run.first; item <= run.last && item - run.first < of; ++item)
            shards.insert(shard_of(item, of).index);
        if (shards.size() == of)
            break;
    }
    return shards;
}

template <class All, class ToText> std::string list(const All &all, ToText to_text)
{
    std::vector<std::string> texts;
    for (const auto &one : all) {
        if (texts.size() == most_listed) {
            texts.push_back(fmt::format("... ({} more)", all.size() - most_listed));
            break;
        }
        texts.push_back(to_text(one));
    }
    return fmt::format("{}", fmt::join(texts, ", "));
}

std::string told(const std::vector<Run> &missing, uint32_t of)
{
    const bool one = missing.size() == 1 && missing[0].first == missing[0].last;
    const std::string items = list(missing, [](const Run &run) {
        return run.first == run.last ? std::to_string(run.first)
                                     : fmt::format("{}-{}", run.first, run.last);
    });
    const std::string shards = list(shards_with(missing, of), [&](uint32_t index) {
        return "--shard " + Shard{index, of}.to_text();
    });
    return fmt::format("item{} {} {} missing: run {} again", one ? "" : "s", items,
                       one ? "is" : "are", shards);
}

/* ---- The files ---- */

/* Reads a file line by line. */
class Lines {
public:
    explicit Lines(const std::string &file)
        : name_(file), file_(std::fopen(file.c_str(), "rb"), std::fclose)
    {
        if (!file_)
            cannot_be_read();
    }

    /* How the line ended; never too_long, which is refused. */
    LineEnd next(std::string &line)
    {
        ++number_;
        const LineEnd end = read_line(line, [&] { return ::getc_unlocked(file_.get()); });
        if (end == LineEnd::too_long)
            refuse(place(), line_is_too_long());
        if (std::ferror(file_.get()) != 0)
            cannot_be_read();
        return end;
    }
    uint64_t number() const { return number_; }
    std::string place() const { return fmt::format("{}:{}", name_, number_); }

private:
    [[noreturn]] void cannot_be_read() const
    {
        refuse(name_, fmt::format("cannot be read: {}", std::strerror(errno)));
    }

    const std::string name_;
    const std::unique_ptr<std::FILE, int (*)(std::FILE *)> file_;
    uint64_t number_ = 0;
};

class Merging {
public:
    void add(const std::string &file)
    {
        Lines lines(file);
        Campaign campaign;
        std::string line;
        LineEnd end = lines.next(line);
        for (; end == LineEnd::whole; end = lines.next(line)) {
            if (lines.number() == 1)
                campaign = begin(line, lines.place());
            else
                add_item(line, lines.place(), campaign);
        }
        if (end == LineEnd::cut)
            results_.notes.push_back(lines.place() + ": passed over: the line is cut");
        else if (lines.number() == 1)
            results_.notes.push_back(file + ": passed over: the file is empty");
    }

    Results finish(const std::string &kind, const std::string &version)
    {
        if (campaign_from_.empty())
            throw ResultsError(notes() + "there are no results");
        const Campaign &campaign = results_.campaign;
        if (campaign.kind != kind)
            refuse(campaign_from_,
                   fmt::format("results of \"{}\", not of \"{}\"", printable(campaign.kind), kind));
        if (campaign.version != version)
            refuse(campaign_from_, fmt::format("results of kvnsim {}; this is {}",
                                               printable(campaign.version), version));
        if (const std::vector<Run> missing = missing_in(results_); !missing.empty())
            throw ResultsError(notes() + told(missing, campaign.shard.of));
        results_.campaign.shard = {};
        return std::move(results_);
    }

private:
    Campaign begin(const std::string &line, const std::string &place)
    {
        Campaign campaign = campaign_in(line, place);
        if (campaign_from_.empty()) {
            results_.campaign = campaign;
            campaign_from_ = place;
        } else if (const auto found = what_differs(results_.campaign, campaign)) {
            refuse(place, fmt::format("another campaign than {}: {} is {}, not {}", campaign_from_,
                                      found->what, found->b, found->a));
        }
        return campaign;
    }

    void add_item(const std::string &line, const std::string &place, const Campaign &campaign)
    {
        const rapid::Document json = parse_line(line, place);
        const ResultObject object(json, place);
        const uint64_t item = object.number(item_key);
        if (item == 0 || item > campaign.items)
            object.damaged(fmt::format("item {} of {}", item, campaign.items));
        if (!campaign.shard.has(item))
            object.damaged(
                fmt::format("item {} is not of share {}", item, campaign.shard.to_text()));
        const auto [there, is_new] = results_.lines.emplace(item, line);
        if (is_new)
            results_.places.emplace(item, place);
        else if (there->second != line)
            refuse(place, fmt::format("item {} has another result than at {}", item,
                                      results_.places.at(item)));
    }

    std::string notes() const
    {
        std::string text;
        for (const std::string &note : results_.notes)
            text += note + "; ";
        return text;
    }

    Results results_;
    std::string campaign_from_; /* the place of the first one */
};

} // namespace

std::string sha256_of(std::string_view content)
{
    gchar *const sum = g_compute_checksum_for_data(
        G_CHECKSUM_SHA256, reinterpret_cast<const guchar *>(content.data()), content.size());
    std::string text = sum;
    g_free(sum);
    return text;
}

void begin_item(Json &json, uint64_t item)
{
    json.begin_object().field(item_key, item);
}

ResultsWriter::ResultsWriter(std::ostream &out, const Campaign &campaign) : out_(out)
{
    Json json;
    json.begin_object().field(results_key, results_version);
    json.field("kind", campaign.kind).field("version", campaign.version);
    json.field("word_size", campaign.word_size).key("options").begin_object();
    for (const auto &[name, value] : campaign.options)
        json.field(name, value);
    json.end_object().key("files").begin_array();
    for (const CampaignFile &file : campaign.files)
        json.begin_object()
            .field("name", file.name)
            .text_or_null("sha256", file.sha256)
            .end_object();
    json.end_array().field("items", campaign.items).field("shard", campaign.shard.to_text());
    write(json.end_object().text());
}

void ResultsWriter::write(std::string_view line)
{
    out_ << line << '\n' << std::flush;
}

Results merge(const std::vector<std::string> &files, const std::string &kind,
              const std::string &version)
{
    Merging merging;
    for (const std::string &file : files)
        merging.add(file);
    return merging.finish(kind, version);
}

} // namespace kvnsim
