// The XML layer, and the bound on nesting against the parser itself.
#include <gtest/gtest.h>
#include <tinyxml.h>

#include <algorithm>
#include <functional>
#include <random>
#include <sstream>

#include "support/fixture.h"
#include "support/text/convert.h"
#include "support/xml/depth.h"
#include "support/xml/xml.h"

namespace support_test {
namespace {

TEST(Xml, WritesAndReadsItsOwn) {
    const util::xml_node_t document = util::xml_new_document();
    const util::xml_node_t root = util::xml_add_element(document, "root");
    const char* const values[] = {"C:\\a&#x41;b", "&<>\"'", "", "line\nfeed", "caf\xe9", "&#xZZ"};
    for (const char* value : values) {
        util::xml_set_attribute(util::xml_add_element(root, "child"), "value", value);
    }
    util::xml_set_bool_attribute(root, "yes", true);
    util::xml_set_int_attribute(root, "number", -20);
    const std::string text = util::xml_serialize(document);
    EXPECT_EQ(text.find('\n'), std::string::npos);
    EXPECT_EQ(text.rfind("<root yes=\"true\" number=\"-20\">", 0), 0u) << text;

    const util::xml_node_t read = util::xml_first_child(util::xml_parse(text));
    std::size_t i = 0;
    for (const util::xml_node_t& child : util::xml_child_elements(read)) {
        EXPECT_EQ(util::xml_get_attribute(child, "value"), values[i++]);
    }
    EXPECT_EQ(i, std::size(values));
    EXPECT_EQ(util::xml_serialize(util::xml_parse("<OracleOverall></OracleOverall>")),
              "<OracleOverall />");
}

TEST(Xml, LookingUp) {
    const util::xml_node_t root =
        util::xml_first_child(util::xml_parse("<!-- c --><r a=\"TRUE\" b=\"\">text<x/><!-- c -->"
                                              "<y n=\"1\"/><y n=\"2\"/></r>"));
    EXPECT_EQ(util::xml_child_elements(root).size(), 3u);
    EXPECT_EQ(util::xml_get_attribute(util::xml_child(root, "y"), "n"), "1");
    EXPECT_EQ(util::xml_get_attribute(root, "b"), "");
    bool flag = false;
    EXPECT_TRUE(util::xml_try_get_bool_attribute(root, "a", flag));
    EXPECT_TRUE(flag);
    EXPECT_FALSE(util::xml_try_get_bool_attribute(root, "absent", flag));
    EXPECT_EQ(util::xml_find_child(root, "Y").node, nullptr);
    const struct {
        std::function<void()> act;
        const char* words;
    } failures[] = {
        {[&] { util::xml_child(root, "z"); }, "There is no node with the specified name: [z]."},
        {[&] { util::xml_get_attribute(root, "z"); },
         "Attribute value is not specified. Attribute: [z]."},
        {[&] { util::xml_add_element({}, "z"); },
         "Failed to create XML element [z]. Parent node is not specified."},
    };
    for (const auto& row : failures) {
        EXPECT_EQ(failure_of(row.act), row.words);
    }
}

TEST(Xml, AParseFailureShowsTheBeginning) {
    for (const std::size_t size : {128, 129}) {
        const std::string text(size, 'x');
        const std::string shown = size == 128 ? text : text.substr(0, 128) + "..., length: 129";
        const std::string failure = failure_of([&] { util::xml_parse(text); });
        EXPECT_EQ(failure.rfind("XML error: [", 0), 0u) << failure;
        EXPECT_NE(
            failure.find("\n--tr:Failed to parse XML content. Source content: [" + shown + "]."),
            std::string::npos)
            << failure;
    }
}

// The host's texts are in the code page, which no declaration knows.
TEST(Xml, ADeclaredEncodingIsNotLookedAt) {
    for (const char* declaration : {"", "<?xml version='1.0'?>", "<?xml encoding=\"UTF-8\"?>"}) {
        const util::xml_node_t root = util::xml_first_child(
            util::xml_parse(declaration + std::string("<a n=\"Caf\xe9\" m='\xe9'>\xf0</a>")));
        EXPECT_EQ(util::xml_get_attribute(root, "n"), "Caf\xe9") << declaration;
    }
    const util::xml_node_t marked =
        util::xml_first_child(util::xml_parse("\xef\xbb\xbf<a n=\"&#xe9;\"/>"));
    EXPECT_EQ(util::xml_get_attribute(marked, "n"), "\xc3\xa9");
}

std::string nested(std::size_t levels) {
    std::string text;
    for (std::size_t i = 0; i < levels; ++i) {
        text += "<a>";
    }
    for (std::size_t i = 0; i < levels; ++i) {
        text += "</a>";
    }
    return text;
}

TEST(XmlDepth, TheBoundHolds) {
    EXPECT_NO_THROW(util::xml_parse(nested(util::xml_max_depth)));
    for (const std::size_t levels : {util::xml_max_depth + 1, std::size_t{100000}}) {
        const std::string failure = failure_of([&] { util::xml_parse(nested(levels)); });
        EXPECT_EQ(failure.rfind("XML error: [Elements are nested too deep", 0), 0u) << failure;
    }
    // Texts in which the parser sees more than meets the eye.
    const std::string deep = nested(400);
    const auto repeated = [](const char* text) {
        std::string all;
        for (int i = 0; i < 400; ++i) {
            all += text;
        }
        return all;
    };
    for (const std::string& hostile :
         {"<?xml version=\"><!--\"?>" + deep, "<a x=\"&#\"><!--#;\">" + deep + "</a>",
          repeated("<a>&#</a>#;") + repeated("</a>"), repeated("<a>&#x</a>x;") + repeated("</a>"),
          "\xEF\xBB\xBF<a x=\xEF\xBB\xBF\"><!--\">" + deep + "</a>",
          "\xEF\xBB\xBF<?xml version='1.0'?>" + repeated("<a>\xF0</a>") + repeated("</a>")}) {
        EXPECT_THROW(util::xml_parse(hostile), std::exception) << hostile.substr(0, 60);
    }
    std::string siblings = "<r>";
    for (int i = 0; i < 5000; ++i) {
        siblings += i % 2 ? "<a/>" : "<a b= '>'></a>";
    }
    EXPECT_NO_THROW(util::xml_parse(siblings + "</r>"));
}

std::size_t depth_of(const TiXmlNode& node) {
    std::size_t deepest = 0;
    for (const TiXmlNode* child = node.FirstChild(); child; child = child->NextSibling()) {
        deepest = std::max(deepest, depth_of(*child));
    }
    return deepest + (node.ToElement() ? 1 : 0);
}

// Texts put together from what matters to a tokeniser: whatever the parser builds, also before it
// gives up, the scanner must have seen at least as deep.
TEST(XmlDepth, SeesAtLeastWhatTheParserBuilds) {
    std::istringstream all(
        "<a>~<a~</a>~</b>~/>~>~<~/~ ~<!--~-->~<![CDATA[~]]>~<?~?>~<!~=~\"~'~x~b=\"1\"~c='>'~"
        "&lt;~d=e~\n~<b>~<c/>~f=\"/>\"~<_g>~\xe9~<\xe9>~]~-~<a/ >~<a b>~<a b=>~<a b= c>~"
        "<?xml version='1'?>~<?XML ~version=~encoding=\"UTF-8\"~encoding='x'~&#~#~;~&~&#x41;~"
        "\xef\xbf\xbe~\xef\xbb\xbf~\xc3\xa9~\xf0~\xc3");
    std::vector<std::string> pieces;
    for (std::string piece; std::getline(all, piece, '~');) {
        pieces.push_back(piece);
    }
    std::mt19937 random(20);
    std::size_t deep = 0;
    for (int round = 0; round < 200000; ++round) {
        static const char* const begins[] = {"<r>", "", "<?xml version='1'?><r>",
                                             "\xef\xbb\xbf<r>"};
        std::string text = begins[round % 4];
        for (std::size_t n = random() % 24; n > 0; --n) {
            text += pieces[random() % pieces.size()];
        }
        const bool is_utf8 = failure_of([&] { util::from_utf8(text); }) == "nothing";
        for (const TiXmlEncoding encoding : {TIXML_ENCODING_LEGACY, TIXML_ENCODING_UNKNOWN}) {
            if (encoding == TIXML_ENCODING_LEGACY || is_utf8) {
                TiXmlDocument document;
                document.Parse(text.c_str(), nullptr, encoding);
                const std::size_t built = depth_of(document);
                ASSERT_GE(util::xml_nesting_depth(text, 1000), built) << text;
                deep += built > 2;
            }
        }
    }
    EXPECT_GT(deep, 1000u) << "the texts have to be worth it";
}

}  // namespace
}  // namespace support_test
