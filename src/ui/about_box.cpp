#include "ui/about_box.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace velmora::ui {

AboutBox::AboutBox(QWidget* parent) : QDialog(parent) {
  setWindowTitle(tr("About Velmora"));

  auto* name = new QLabel(QStringLiteral("Velmora"), this);
  name->setObjectName("LName");
  QFont nameFont = name->font();
  nameFont.setPointSizeF(nameFont.pointSizeF() * 2);
  nameFont.setBold(true);
  name->setFont(nameFont);

  auto* version = new QLabel(tr("Version %1").arg(QStringLiteral(VELMORA_VERSION)), this);
  version->setObjectName("LVersion");
  auto* purpose = new QLabel(tr("Host tools for developing and programming boards built on the "
                                "Korda family of 16-bit microcontrollers."),
                             this);
  purpose->setObjectName("LPurpose");
  purpose->setWordWrap(true);

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok, this);
  buttons->button(QDialogButtonBox::Ok)->setObjectName("BOK");
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);

  auto* layout = new QVBoxLayout(this);
  layout->addWidget(name, 0, Qt::AlignHCenter);
  layout->addWidget(version, 0, Qt::AlignHCenter);
  layout->addSpacing(8);
  layout->addWidget(purpose);
  layout->addWidget(buttons);
  setMinimumWidth(360);
}

}  // namespace velmora::ui
