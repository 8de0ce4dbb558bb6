#pragma once

namespace strataloom {

/**
 * @brief How the insights read a real history: which of the corrections apply that make the
 * figures say what users mean (people rather than spellings, files rather than paths, code
 * rather than generated output, people rather than automation).
 *
 * Default-constructed, every correction applies. asRecorded() turns them all off and gives the
 * figures exactly as the history records them.
 */
struct InsightOptions
{
    /// The repository's .mailmap first, then authors sharing an exact name or an e-mail address
    /// (without case; not placeholder addresses) count as one person.
    bool mergeIdentities = true;
    /// A file keeps its history through renames, under its current name.
    bool followRenames = true;
    /// Files deleted at the newest commit stay out of hotspots and coupling.
    bool hideDeletedFiles = true;
    /// Generated, vendored and lock files stay out of churn, hotspots, technologies and
    /// coupling, and files are named by the language table (extension, file name, a script's
    /// interpreter) rather than by extension alone.
    bool excludeGenerated = true;
    /// Automation accounts stay out of bus factor, ownership and contributor trends.
    bool separateBots = true;
    /// Merge commits stay out of "commits without changes" and the common words; a remote's
    /// symbolic HEAD ("origin/HEAD") is no branch.
    bool excludeMerges = true;

    static constexpr InsightOptions asRecorded()
    {
        return {false, false, false, false, false, false};
    }

    friend constexpr bool operator==(const InsightOptions &, const InsightOptions &) = default;
};

/// @brief Calls visit(name, flag) for each option of @p options by its field name, in order.
template<typename Options, typename Visit> void visitOptions(Options &options, Visit &&visit)
{
    visit("mergeIdentities", options.mergeIdentities);
    visit("followRenames", options.followRenames);
    visit("hideDeletedFiles", options.hideDeletedFiles);
    visit("excludeGenerated", options.excludeGenerated);
    visit("separateBots", options.separateBots);
    visit("excludeMerges", options.excludeMerges);
}

} // namespace strataloom
