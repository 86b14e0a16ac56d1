#pragma once

#include <cstdint>
#include <map>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "sim/campaign/result_object.h"
#include "sim/campaign/shard.h"
#include "sim/types/json.h"

/* The results of a campaign or of a share of it, as JSON lines: a first line that says which
 * campaign, then a line for each item in any order. docs/campaigns.md shows them. */
namespace kvnsim {

constexpr int64_t results_version = 1;
/* The first field of the first line. */
constexpr const char *results_key = "kvnsim_results";

/* A configuration of a campaign. */
struct CampaignFile {
    std::string name;
    std::string sha256; /* of its content, in hexadecimal; empty when it cannot be read */
    friend bool operator==(const CampaignFile &a, const CampaignFile &b)
    {
        return a.name == b.name && a.sha256 == b.sha256;
    }
};
std::string sha256_of(std::string_view content);

/* What makes results belong together: all but the share. Text that is not UTF-8 is written with
 * replacements. */
struct Campaign {
    std::string kind;                                         /* "fleet", "faults" */
    std::string version;                                      /* of kvnsim */
    uint32_t word_size = 0;                                   /* of the library, in bits */
    std::vector<std::pair<std::string, std::string>> options; /* those that matter, by name */
    std::vector<CampaignFile> files;
    uint64_t items = 0; /* numbered from 1 */
    Shard shard;
};

/* Begins the line of an item: an object with its number. Add fields, and end the object. */
void begin_item(Json &json, uint64_t item);

/* Writes results, each line at once, so that a machine that dies leaves what it has done. */
class ResultsWriter {
public:
    ResultsWriter(std::ostream &out, const Campaign &campaign);
    /* One object on one line, as begin_item() begins it; without the end of the line. */
    void write(std::string_view line);

private:
    std::ostream &out_;
};

/* All results of a campaign. */
struct Results {
    Campaign campaign;                      /* the share is the whole */
    std::map<uint64_t, std::string> lines;  /* of each item, as written */
    std::map<uint64_t, std::string> places; /* of each line: "a.jsonl:17" */
    std::vector<std::string> notes;         /* what was passed over: "b.jsonl:17: cut line" */
};

/* Puts the results in these files together. They must be of one campaign of this kind, made by this
 * version, with every item. An item may be there several times if its lines are equal, as after
 * running a share again. A cut last line, and a file that ends before its first line does, are
 * passed over. Throws ResultsError. */
Results merge(const std::vector<std::string> &files, const std::string &kind,
              const std::string &version);

} // namespace kvnsim
