#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "sim/journal/imported_call.h"

/* Calls that are made to fail. */
namespace kvnsim {

/* Failures to inject. */
class Faults {
public:
    /* The default status of an injected failure: SDK_E_INTERNAL, where it has a name. */
    static constexpr int32_t usual_status = -1;
    /* What add() takes for one occurrence: "libsdk_intf_create:2=SDK_E_FULL"; without the status if
     * it is the usual one. */
    static std::string text(const ImportedCall &call, uint64_t occurrence, int32_t status);

    /* "libsdk_intf_create", "libsdk_intf_create:2", "libsdk_intf_create:2=SDK_E_FULL" or "=7":
     * every occurrence, or the nth from now on (1-based). Empty on success, else the error. */
    std::string add(const std::string &text);
    /* Each call that returns a status fails with this probability (0..1), reproducible by the seed.
     */
    void set_rate(double rate, uint64_t seed);
    void clear();
    /* Asked at each occurrence that add() counts, with the arguments, if no rule makes it fail: the
     * status to fail with, or none. */
    using Ask = std::function<std::optional<int32_t>(const ImportedCall &call,
                                                     std::initializer_list<Argument> arguments)>;
    Ask ask;
    /* Suspend or resume injection, for the host's own repairs; such calls do not count. Returns
     * whether it was suspended. */
    bool suspend(bool suspended) { return std::exchange(suspended_, suspended); }
    /* Whether any call can be made to fail. */
    bool armed() const { return !suspended_ && (!rules_.empty() || rate_ > 0 || ask); }
    /* The status to fail with now, if the call is to fail. Counts the occurrence. */
    std::optional<int32_t> strike(const ImportedCall &call,
                                  std::initializer_list<Argument> arguments = {});
    /* The texts of add() that never took effect, for a message at the end. */
    std::vector<std::string> unused() const;
    /* The calls that were made to fail, and how often each; also before clear(). */
    struct Injected {
        const ImportedCall *call;
        uint64_t count;
    };
    const std::vector<Injected> &injected() const { return injected_; }

private:
    struct Rule {
        std::string text;
        const ImportedCall *call;
        uint64_t occurrence; /* 0 = each */
        int32_t status;
        uint64_t seen;
        bool struck;
    };
    std::vector<Rule> rules_;
    std::vector<Injected> injected_; /* in the order of the names */
    double rate_ = 0;
    uint64_t random_ = 0;
    bool suspended_ = false;
};

} // namespace kvnsim
