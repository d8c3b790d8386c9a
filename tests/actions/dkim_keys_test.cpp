// Key pair of the signer.
#include <cerrno>

#include "tests/recording/action_test.h"

using namespace recording;

namespace {

const std::string kPrivate = "/var/packages/Mailvane/etc/dkim.key//dkim.private";
const std::string kPublic = "/var/packages/Mailvane/etc/dkim.key//dkim.public";
const std::string kBegin = "-----BEGIN PUBLIC KEY-----";
const std::string kEnd = "-----END PUBLIC KEY-----";

const std::string kMakeDirectory = "mkdir /var/packages/Mailvane/etc/dkim.key/ 0644";
const std::string kMakePrivate = "GenerateRSAPrivateKey " + kPrivate + " 1024";
const std::string kMakePublic = "GenerateRSAPublicKey " + kPrivate + " " + kPublic;
const std::string kReadPublic = "ReadRSAPublicKey " + kPublic;
const std::string kRestartSigner =
    "HLIBCExec /var/packages/Mailvane/target/scripts/opendkim.sh restart";

class GenerateDkimKey : public ActionTest {
protected:
    void Prepare() override { world.publicKey = kBegin + "\nQUJD\n" + kEnd + "\n"; }
};

}  // namespace

TEST_F(GenerateDkimKey, MakesThePairAndRestartsASignerThatIsOn)
{
    const std::string want =
        Lines({"Postfix::LoadSettings", kMakeDirectory, kMakePrivate, kMakePublic, kReadPublic});
    world.FailWith("mkdir", EEXIST);  // makes no difference
    EXPECT_EQ(Read("generate_dkim_key").status, 0);
    EXPECT_EQ(world.Calls(), want);
    NextCase();

    world.postfix.Set(ParseJson(R"({"enable_dkim": true})"));
    world.Fail(kRestartSigner);  // nor does this
    world.publicKey = kBegin + "\nQUJD\nREVG\n" + kEnd + "\n";
    EXPECT_EQ(Read("generate_dkim_key").output,
              Answer(R"({"success": true, "dkim_public_key": "QUJDREVG"})"));
    EXPECT_EQ(world.Calls(), want + kRestartSigner + "\n");
}

TEST_F(GenerateDkimKey, CutsTheTextAsThePublishedRecordsHaveIt)
{
    const std::pair<std::string, std::string> rows[] = {
        {kBegin + "\r\nQUJD\r\nREVG\r\n" + kEnd + "\r\n", "\rQUJD\rREVG\r"},
        {kBegin + "\nQUJD\nREVG\n", "QUJDREVG"},
        {"QUJD\nREVG\n" + kEnd + "\n", "QUJDREVG"},
        {"", ""},
        {kBegin + "\nQUJD\n" + kEnd + "\nmore\n" + kBegin + "\n", "QUJD"},
        // the place of the mark is that of the text as read
        {"x\n" + kBegin + "\nQUJD\n" + kEnd, "x-UJD"},
        {"\n\n" + kBegin, "--"},
    };
    for (const auto& [text, want] : rows) {
        world.publicKey = text;
        Json::Value answer = ParseJson(kSuccess);
        answer["dkim_public_key"] = want;
        EXPECT_EQ(Read("generate_dkim_key").output, Answer(Compact(answer)));
    }

    world.publicKey = std::string(kBegin.size() + 1, '\n') + kBegin;
    const Reply reply = Read("generate_dkim_key");
    EXPECT_EQ(reply.status, 255);
    EXPECT_EQ(reply.output, "");
    EXPECT_NE(world.TakeLog(), "");
}

TEST_F(GenerateDkimKey, TheFirstFailureEndsIt)
{
    const std::string failed = "Failed to ";
    ExpectFailures({
        {"generate_dkim_key", kMakePrivate, {failed + "GenerateRSAPrivateKey"}},
        {"generate_dkim_key", kMakePublic, {failed + "GenerateRSAPublicKey"}},
        {"generate_dkim_key", kReadPublic, {failed + "ReadRSAPublicKey"}},
    });
}
