#pragma once

namespace kvnsim {

/* The page as the browser gets it, but for the data, whose place is marked. The build makes it. */
extern const char page_text[];
constexpr char page_data_mark[] = "/*DATA*/";

} // namespace kvnsim
