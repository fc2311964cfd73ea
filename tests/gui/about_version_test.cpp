// The about box shows the version `tabvet --version` prints and the packages carry, in its designed form
// "Version major.minor.revision".
#include <QLabel>
#include <QtTest>

#include "app/tabvet_version.h"
#include "app/window/frm_about.h"
#include "support/recording_interaction.h"

namespace tabvet {

class AboutVersionTest : public QObject {
    Q_OBJECT
  private slots:
    void ShowsTheProgramsVersion() {
        testsupport::RecordingInteraction ui;
        const frmAbout about(ui, SysInfoLocator{});
        const auto* label = about.findChild<QLabel*>("lblVersion");
        QVERIFY(label != nullptr);
        QCOMPARE(label->text(), QString("Version ") + kVersionText);
    }
};

}  // namespace tabvet

QTEST_MAIN(tabvet::AboutVersionTest)
#include "about_version_test.moc"
