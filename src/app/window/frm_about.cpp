// The version comes from the build, so the box never disagrees with the program.
#include "frm_about.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/tabvet_version.h"

namespace tabvet {

frmAbout::frmAbout(IUserInteraction& ui, SysInfoLocator locator, QWidget* parent)
    : QDialog(parent), ui_(ui), locator_(std::move(locator)) {
    const AboutTexts texts = MakeAboutTexts(kVersionMajor, kVersionMinor, kVersionRevision);
    setObjectName("frmAbout");
    setWindowTitle(QString::fromStdString(texts.caption));
    lblTitle_ = new QLabel(QString::fromStdString(texts.title), this);
    lblTitle_->setObjectName("lblTitle");
    QFont titleFont = lblTitle_->font();
    titleFont.setPointSize(titleFont.pointSize() + 4);
    titleFont.setBold(true);
    lblTitle_->setFont(titleFont);
    lblVersion_ = new QLabel(QString::fromStdString(texts.version), this);
    lblVersion_->setObjectName("lblVersion");
    cmdOK_ = new QPushButton("OK", this);
    cmdOK_->setObjectName("cmdOK");
    cmdOK_->setDefault(true);
    cmdSysInfo_ = new QPushButton("&System Info...", this);
    cmdSysInfo_->setObjectName("cmdSysInfo");

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cmdOK_);
    buttons->addWidget(cmdSysInfo_);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(lblTitle_);
    layout->addWidget(lblVersion_);
    layout->addSpacing(16);
    layout->addLayout(buttons);

    connect(cmdOK_, &QPushButton::clicked, this, &QDialog::accept);
    connect(cmdSysInfo_, &QPushButton::clicked, this, [this] { StartSysInfo(locator_, ui_); });
}

}  // namespace tabvet
