#include "any_service.h"

namespace Behaviour {
namespace {

using testing::Each;
using testing::Field;
using testing::IsEmpty;
using testing::SizeIs;

class Creation : public AnyService {
 protected:
  /// Creates a folder and returns its record, if the operation returns one.
  std::vector<Folder> create(const std::string& name) {
    Outs outs;
    EXPECT_EQ(service().creationOf(name).call(handle.get(), outs), 0);
    if (outs.state() == Outs::State::Untouched) return {};
    EXPECT_EQ(outs.state(), Outs::State::Filled);
    return {outs.folder.folder()};
  }

  std::vector<Folder> listed() {
    Outs outs;
    EXPECT_EQ(service().listing().call(handle.get(), outs), 0);
    return outs.folders.folders();
  }

  const OpenSession handle = openAuthorized();
};

TEST_P(Creation, NewFolderIsListed) {
  cloud->addFolders(2);
  const auto created = create("photos");
  const auto folders = cloud->folders();
  ASSERT_THAT(folders, SizeIs(3));
  EXPECT_THAT(created, Each(folders.back()));
  EXPECT_EQ(listed(), folders);
  EXPECT_EQ(cloud->count(Subject::Creation), 1U);
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_P(Creation, OfATwinHasTheResultThatTheServiceDetermines) {
  const auto first = create("photos");
  const auto before = listed();
  if (service().facts.twin == Service::Twin::Refused) {
    const Operation operation = service().creationOf("photos");
    const Failure failure = service().nameTaken().failure;
    Outs outs;
    EXPECT_EQ(operation.call(handle.get(), outs), service().resultOf(failure));
    EXPECT_EQ(outs.state(), operation.afterFailure);
    EXPECT_EQ(log.records(), linesOf(operation, failure));
    EXPECT_EQ(listed(), before);
    EXPECT_EQ(cloud->count(Subject::Creation), 2U) << "a refusal is not retried";
    return;
  }

  const auto second = create("photos");
  EXPECT_THAT(log.records(), IsEmpty());
  if (service().facts.twin == Service::Twin::SameFolder) {
    EXPECT_EQ(second, first);
    EXPECT_EQ(listed(), before);
    return;
  }
  EXPECT_NE(second, first);
  EXPECT_THAT(listed(), SizeIs(2));
  EXPECT_THAT(listed(), Each(Field(&Folder::name, first.at(0).name)));
}

INSTANTIATE_TEST_SUITE_P(Services, Creation, testing::ValuesIn(allServices()), ServiceName());

}  // namespace
}  // namespace Behaviour
