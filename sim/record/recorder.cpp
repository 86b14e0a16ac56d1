/* Writes only what a replay cannot derive: the state of an interface is written when it differs
 * from the last state written, before a request that can use it. So a reader that follows the lines
 * always has every interface as the library finds it. */
#include "sim/record/recorder.h"

#include <algorithm>
#include <utility>

#include "sim/fwm/diagnostics.h"
#include "sim/record/interface_state.h"
#include "sim/record/recording.h"
#include "sim/switch/virtual_macs.h"

namespace kvnsim {

Recorder::Recorder(std::ostream &out) : out_(out)
{
    write(line(LineKind::header, Value::integer(recording_version),
               {{"word_size", Value::integer(8 * sizeof(void *))}}));
}

Recorder::~Recorder()
{
    write(line(LineKind::end, Value::integer(1),
               {{"requests", Value::integer(static_cast<int64_t>(requests_))}}));
    out_.flush();
}

void Recorder::write(const Value &line)
{
    out_ << line.to_json() << '\n';
}

/* What a replay needs to know of a switch that was powered on or restored; the interfaces come with
 * their requests. */
void Recorder::write_beginning()
{
    if (requests_ != 0)
        write(line(LineKind::power_on, Value::integer(1)));
    written_.clear();
    for (const FhrpRow &entry : library_virtual_macs())
        write(line(LineKind::virtual_mac, Value::text(to_text(entry.mac)),
                   {{"ifindex", Value::integer(entry.ifindex)},
                    {"mac_trap_id", Value::integer(entry.mac_trap_id)}}));
}

/* The request names an ifindex whose interface is gone. A replay forgets that interface and all
 * that depends on it, so every other interface that is gone is written too. */
void Recorder::write_gone(const Request &request)
{
    const std::vector<uint32_t> unknown = unknown_indexes_of(request);
    if (std::none_of(unknown.begin(), unknown.end(),
                     [this](uint32_t ifindex) { return written_.count(ifindex) != 0; }))
        return;
    for (auto at = written_.begin(); at != written_.end();) {
        if (Host::instance().find(at->first) != nullptr) {
            ++at;
        } else {
            write(line(LineKind::gone, Value::integer(at->first)));
            at = written_.erase(at);
        }
    }
}

void Recorder::request_begins(const Request &request)
{
    if (std::exchange(begins_, false))
        write_beginning();
    ++requests_;
    in_request_ = true;

    const Value sinks = sinks_line(Diagnostics::instance().sinks());
    if (std::string text = sinks.to_json(); text != sinks_) {
        sinks_ = std::move(text);
        write(sinks);
    }
    write_gone(request);
    concerned_ = interfaces_of(request);
    for (const HostInterface *interface : concerned_) {
        Written now{interface->name + host_state(*interface).to_json(),
                    library_state(*interface).to_json()};
        Written &before = written_[interface->ifindex];
        if (now.host != before.host || now.library != before.library) {
            before = std::move(now);
            write(line(LineKind::interface, Value::text(interface->name),
                       {{"host", host_state(*interface)}, {"library", library_state(*interface)}}));
        }
    }
    write(request_line(request));
    /* If the request ends the process, the recording shows which one it was. */
    out_.flush();
}

void Recorder::call_made(const Call &call)
{
    if (in_request_)
        write(call_line(call));
}

void Recorder::trace_emitted(const TraceRecord &record)
{
    if (in_request_)
        write(trace_line(record));
}

void Recorder::request_ends(const Request &request)
{
    for (const HostInterface *interface : concerned_) {
        std::string now = library_state(*interface).to_json();
        std::string &before = written_[interface->ifindex].library;
        if (now != before) {
            before = std::move(now);
            write(left_line(*interface));
        }
    }
    write(result_line(request));
    in_request_ = false;
}

} // namespace kvnsim
