// The ODBC logon dialog's window: a modal mirror of the display-free logon model.
#pragma once

#include <QDialog>

#include "session/odbc_logon.h"

class QComboBox;
class QLineEdit;
class QPushButton;

namespace tabvet {

/// Shows the logon model modally. One instance lives as long as the main window, like the model it shows.
class frmODBCLogonWindow final : public QDialog, public LogonDialogPresenter {
    Q_OBJECT
  public:
    explicit frmODBCLogonWindow(QWidget* parent = nullptr);
    void ShowModal(frmODBCLogon& dialog) override;

  protected:
    void reject() override;

  private:
    void Refresh();
    void TakeFields();

    frmODBCLogon* model_ = nullptr;
    QComboBox* cboDSNList_;
    QComboBox* cboDrivers_;
    QLineEdit* txtServer_;
    QLineEdit* txtUID_;
    QLineEdit* txtPWD_;
    QLineEdit* txtDatabase_;
    QPushButton* cmdOK_;
    QPushButton* cmdCancel_;
};

}  // namespace tabvet
