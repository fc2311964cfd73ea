// The about box: title, version and the system-information button.
#pragma once

#include <QDialog>

#include "session/about_box.h"

class QLabel;
class QPushButton;

namespace tabvet {

class frmAbout final : public QDialog {
    Q_OBJECT
  public:
    frmAbout(IUserInteraction& ui, SysInfoLocator locator, QWidget* parent = nullptr);

  private:
    IUserInteraction& ui_;
    SysInfoLocator locator_;
    QLabel* lblTitle_;
    QLabel* lblVersion_;
    QPushButton* cmdOK_;
    QPushButton* cmdSysInfo_;
};

}  // namespace tabvet
