#pragma once

namespace tov::app {

class OptionReader;

/// How a recording is split into parts, which are recorded separately and joined: --part I/N or --parts N.
struct PartRequest
{
    int count = 0; ///< parts; 0 = the recording is not split
    int part = 0;  ///< the part to record, from 1; 0 = those that are missing, then join all
    bool keepsParts = false;
    bool showsStatus = false; ///< only report which parts are done

    bool isShared() const { return count > 0; }
};

/// Reads --part, --parts, --keep-parts and --status; errors are stored in `reader`. Thread: any.
void readParts(OptionReader& reader, PartRequest& request);

} // namespace tov::app
