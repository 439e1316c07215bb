#include "MemberName.h"
#include "MemberTree.h"
#include "UnpackError.h"

#include <QTest>

#include <algorithm>

namespace {

using Link = std::pair<std::string, std::string>;

/// Whether all these links stay inside the tree.
bool isTrusted(const std::vector<Link> &links)
{
    try {
        MemberTree tree(1000);
        std::vector<MemberTree::Node> nodes;
        for (const auto &[name, target] : links) {
            checkLinkTarget(name, target);
            nodes.push_back(tree.add(name, ZipMember::Kind::Link));
            tree.setTarget(nodes.back(), target);
        }
        return std::ranges::all_of(
            nodes, [&tree](MemberTree::Node node) { return tree.follow(node) == MemberTree::Way::Inside; });
    } catch (const UnpackError &) {
        return false;
    }
}

}

class LinkTargetsTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aLinkMayLeadAnywhereInTheFolderOnly_data()
    {
        QTest::addColumn<std::vector<Link>>("links");
        QTest::addColumn<bool>("trusted");
        const auto inside = [](const char *what, const std::vector<Link> &links) {
            QTest::addRow("inside: %s", what) << links << true;
        };
        const auto refused = [](const char *what, const std::vector<Link> &links) {
            QTest::addRow("refused: %s", what) << links << false;
        };
        inside("beside it", { { "a", "b" } });
        inside("its folder", { { "a", "." } });
        inside("the parent", { { "d/a", ".." } });
        inside("beside its folder", { { "d/a", "../b/c" } });
        inside("through a parent twice", { { "d/e/a", "../../x/../y" } });
        inside("with parts that do not matter", { { "d/a", "b//c/./d/" } });
        inside("three dots", { { "a", "..." } });
        inside("a name that begins with dots", { { "a", "..b/c" } });
        inside("a bundle's usual links",
               { { "F.framework/Versions/Current", "A" },
                 { "F.framework/Headers", "Versions/Current/Headers" },
                 { "F.framework/F", "Versions/Current/F" } });
        inside("the longest path", { { "a", std::string(1024, 'b') } });
        inside("through another link", { { "up/here", ".." }, { "a", "up/here/b" } });

        refused("the parent", { { "a", ".." } });
        refused("the parent with a slash", { { "a", "../" } });
        refused("itself from the parent", { { "a", "../a" } });
        refused("itself from further up", { { "d/a", "../../d/a" } });
        refused("in and out again", { { "a", "b/../.." } });
        refused("a dot first", { { "a", "./.." } });
        refused("the root", { { "a", "/" } });
        refused("absolute", { { "a", "/tmp" } });
        refused("empty", { { "a", "" } });
        refused("a line feed", { { "a", "b\nc" } });
        refused("not UTF-8", { { "a", "b\xff" } });
        refused("longer than any path", { { "a", std::string(1025, 'b') } });
        refused("through another link", { { "up/here", ".." }, { "a", "up/here/../b" } });
        // Read as text this stays inside, but p/q/r leads to the top, and its parent is outside.
        refused("inside as text only", { { "p/q/r", "../.." }, { "x/y/a", "../../p/q/r/../b" } });
        refused("through a link in another letter case", { { "up/Here", ".." }, { "a", "UP/hERE/../b" } });
        refused("to itself", { { "a", "a" } });
        refused("below itself", { { "a", "a/b" } });
        refused("in a circle", { { "a", "b" }, { "b", "c" }, { "c", "a" } });
    }

    void aLinkMayLeadAnywhereInTheFolderOnly()
    {
        QFETCH(std::vector<Link>, links);
        QTEST(isTrusted(links), "trusted");
    }

    void aLongChainEndsWhereTheSystemEndsIt()
    {
        std::vector<Link> links;
        for (int index = 0; index < 40; ++index)
            links.emplace_back("l" + std::to_string(index), "l" + std::to_string(index + 1));
        QVERIFY(isTrusted(links));
        links.emplace_back("l40", "l41");
        QVERIFY(!isTrusted(links));
        std::ranges::reverse(links);
        QVERIFY(!isTrusted(links));
    }
};

QTEST_GUILESS_MAIN(LinkTargetsTest)
#include "LinkTargetsTest.moc"
