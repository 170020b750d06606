#include <gtest/gtest.h>

#include "settings/SettingsList.h"

namespace vantrel {
namespace {

TEST(SettingsList, JoinAndSplit) {
    const SettingsList list({u"名前", u"URL", u"書式"});
    // Legend: a row, its file form, the row read back from that form.
    const struct {
        SettingsList::Row row;
        const char16_t* pszJoined;
        SettingsList::Row back;
    } cases[] = {
        {{u"t", u"u", u"f"}, u"t;u;f", {u"t", u"u", u"f"}},
        {{u"", u"u", u"f"}, u"u;f", {u"u", u"f", u""}},     // a leading empty cell vanishes
        {{u"t", u"", u"f"}, u"t;;f", {u"t", u"", u"f"}},    // an inner one stays
        {{u"t"}, u"t;;", {u"t", u"", u""}},                  // a short row reads empty cells
        {{u"a;b", u"u", u"f"}, u"a;b;u;f", {u"a", u"b", u"u"}},
        {{}, u"", {u"", u"", u""}},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        SettingsList one({u"名前", u"URL", u"書式"});
        one.AddRow(cases[i].row);
        EXPECT_EQ(one.JoinRow(0), cases[i].pszJoined) << "case " << i;
        EXPECT_EQ(list.SplitRow(cases[i].pszJoined), cases[i].back) << "case " << i;
    }
}

TEST(SettingsList, SelectionIsCheckedByReaders) {
    SettingsList list({u"ブラウザ", u"ファイル"});
    list.AddRow({u"a", u"/usr/bin/a"});
    list.AddRow({u"b"});
    // Legend: selected index, whether it names a row, the file cell of the selection.
    const struct {
        std::int32_t nIndex;
        bool bValid;
        const char16_t* pszFile;
    } cases[] = {{0, true, u"/usr/bin/a"}, {1, true, u""}, {2, false, u""}, {-1, false, u""}, {7, false, u""}};
    for (const auto& c : cases) {
        list.SetSelectedIndex(c.nIndex);
        EXPECT_EQ(list.HasSelection(), c.bValid) << c.nIndex;
        EXPECT_EQ(list.SelectedCell(1), c.pszFile) << c.nIndex;
    }
}

}  // namespace
}  // namespace vantrel
