// Every field is copied into the model before OK, so the assembled string is the model's, not the widgets'.
#include "frm_odbc_logon.h"

#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include "window_texts.h"

namespace tabvet {

frmODBCLogonWindow::frmODBCLogonWindow(QWidget* parent) : QDialog(parent) {
    setObjectName("frmODBCLogon");
    setWindowTitle(window_text::kLogonCaption);
    setModal(true);

    auto* lblInfo1 = new QLabel(window_text::kLogonInfo, this);
    lblInfo1->setObjectName("lblInfo1");
    lblInfo1->setWordWrap(true);
    cboDSNList_ = new QComboBox(this);
    cboDSNList_->setObjectName("cboDSNList");
    auto* lblOr = new QLabel(window_text::kLogonOr, this);
    lblOr->setObjectName("lblOr");
    cboDrivers_ = new QComboBox(this);
    cboDrivers_->setObjectName("cboDrivers");
    cboDrivers_->setEditable(true);  // a driver the manager does not list can still be typed
    txtServer_ = new QLineEdit(this);
    txtServer_->setObjectName("txtServer");

    auto* source = new QFormLayout;
    source->addRow("Data source:", cboDSNList_);
    source->addRow(lblOr);
    source->addRow("Driver:", cboDrivers_);
    source->addRow("Server:", txtServer_);

    auto* fraStep3 = new QGroupBox(window_text::kLogonStep3Frame, this);
    fraStep3->setObjectName("fraStep3");
    auto* lblStep3 = new QLabel(window_text::kLogonStep3, fraStep3);
    lblStep3->setObjectName("lblStep3");
    lblStep3->setWordWrap(true);
    txtUID_ = new QLineEdit(fraStep3);
    txtUID_->setObjectName("txtUID");
    txtPWD_ = new QLineEdit(fraStep3);
    txtPWD_->setObjectName("txtPWD");
    txtPWD_->setEchoMode(QLineEdit::Password);
    txtDatabase_ = new QLineEdit(fraStep3);
    txtDatabase_->setObjectName("txtDatabase");
    auto* logon = new QFormLayout(fraStep3);
    logon->addRow(lblStep3);
    logon->addRow("User:", txtUID_);
    logon->addRow("Password:", txtPWD_);
    logon->addRow("Database:", txtDatabase_);

    cmdOK_ = new QPushButton("OK", this);
    cmdOK_->setObjectName("cmdOK");
    cmdOK_->setDefault(true);
    cmdCancel_ = new QPushButton("Cancel", this);
    cmdCancel_->setObjectName("cmdCancel");
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cmdOK_);
    buttons->addWidget(cmdCancel_);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(lblInfo1);
    layout->addLayout(source);
    layout->addWidget(fraStep3);
    layout->addLayout(buttons);

    connect(cboDSNList_, &QComboBox::activated, this, [this](int index) {
        TakeFields();
        model_->DsnChoice(index);
        Refresh();
    });
    connect(cmdOK_, &QPushButton::clicked, this, [this] {
        TakeFields();
        model_->OkClick();
        accept();
    });
    connect(cmdCancel_, &QPushButton::clicked, this, &frmODBCLogonWindow::reject);
}

void frmODBCLogonWindow::ShowModal(frmODBCLogon& dialog) {
    model_ = &dialog;
    Refresh();
    exec();
    model_ = nullptr;
}

void frmODBCLogonWindow::reject() {
    // The close box and Escape count as Cancel.
    if (model_ != nullptr && model_->Visible()) {
        model_->CancelClick();
    }
    QDialog::reject();
}

void frmODBCLogonWindow::TakeFields() {
    model_->cboDriversText = cboDrivers_->currentText().toStdString();
    model_->txtServer = txtServer_->text().toStdString();
    model_->txtUID = txtUID_->text().toStdString();
    model_->txtPWD = txtPWD_->text().toStdString();
    model_->txtDatabase = txtDatabase_->text().toStdString();
}

void frmODBCLogonWindow::Refresh() {
    const QSignalBlocker blockDsn(cboDSNList_);
    const QSignalBlocker blockDrivers(cboDrivers_);
    cboDSNList_->clear();
    for (const std::string& name : model_->cboDSNList) {
        cboDSNList_->addItem(QString::fromStdString(name));
    }
    cboDSNList_->setCurrentIndex(model_->cboDSNListIndex);
    cboDrivers_->clear();
    for (const std::string& name : model_->cboDrivers) {
        cboDrivers_->addItem(QString::fromStdString(name));
    }
    cboDrivers_->setEditText(QString::fromStdString(model_->cboDriversText));
    cboDrivers_->setEnabled(model_->cboDriversEnabled);
    txtServer_->setText(QString::fromStdString(model_->txtServer));
    txtServer_->setEnabled(model_->txtServerEnabled);
    txtUID_->setText(QString::fromStdString(model_->txtUID));
    txtPWD_->setText(QString::fromStdString(model_->txtPWD));
    txtDatabase_->setText(QString::fromStdString(model_->txtDatabase));
}

}  // namespace tabvet
