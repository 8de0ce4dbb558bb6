#include "ModelTestSupport.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMetaMethod>
#include <QMetaProperty>

using namespace strataloom;

ModelHarness::ModelHarness(const QString &home)
    : m_home(home.isEmpty() ? m_emptyHome.path() : home)
{
    restart();
}

ModelHarness::~ModelHarness()
{
    // Let stale work finish while its receiver still exists, so that nothing of this test
    // runs on into the next one.
    settle(*m_model);
    m_testers.clear();
}

void ModelHarness::restart()
{
    if (m_model)
        settle(*m_model);
    m_testers.clear();
    m_model = std::make_unique<AppViewModel>(recentStore(), discoveredStore(),
                                             RepositoryScanner(m_home), &m_desktop);
    for (QObject *room : std::initializer_list<QObject *> {
             m_model->session(), m_model->selection(), m_model->catalog(), m_model->analytics()}) {
        const QMetaObject *meta = room->metaObject();
        for (int i = meta->propertyOffset(); i < meta->propertyCount(); ++i) {
            if (auto *list = qvariant_cast<RecordListModel *>(meta->property(i).read(room)))
                m_testers.push_back(std::make_unique<QAbstractItemModelTester>(
                    list, QAbstractItemModelTester::FailureReportingMode::QtTest));
        }
    }
}

bool openAndWait(RepositorySession &session, const QString &path)
{
    session.openRepository(path);
    return QTest::qWaitFor([&] { return !session.isLoading(); }, 60000);
}

SignalOrder::SignalOrder(const QList<QObject *> &objects)
{
    const QMetaMethod slot = metaObject()->method(metaObject()->indexOfSlot("record()"));
    for (QObject *object : objects) {
        const QMetaObject *meta = object->metaObject();
        for (int i = meta->propertyOffset(); i < meta->propertyCount(); ++i) {
            const QMetaProperty property = meta->property(i);
            // A signal several properties share is told once, under the first one's name.
            if (!property.hasNotifySignal()
                || m_names.contains({object, property.notifySignalIndex()}))
                continue;
            m_names.insert({object, property.notifySignalIndex()},
                           QString::fromLatin1(property.name()));
            connect(object, property.notifySignal(), this, slot);
        }
    }
}

std::unique_ptr<FixtureRepository> projectRepository(const QByteArray &marker)
{
    auto repository = std::make_unique<FixtureRepository>();
    repository->write("src/main.cpp", "int main() {}\n");
    repository->write("conflict.txt", "main " + marker + "\n");
    repository->write("docs/old.md", "old\n");
    repository->commit("Add alpha feature");
    repository->write("src/main.cpp", "int main() { return 0; }\n");
    repository->commit("Fix beta bug", "Grace Hopper", "grace@example.com");
    repository->git({"tag", "v1.0"});
    repository->git({"switch", "-q", "-c", "feature"});
    repository->write("conflict.txt", "feature\n");
    repository->commit("Change conflict on feature");
    repository->git({"switch", "-q", "main"});
    return repository;
}
