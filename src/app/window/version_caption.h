// The caption under the version boxes: the designed text "Major  . Minor . Bugfix", drawn so that each
// word sits under its box and each dot under the dot between two boxes, whatever the font.
#pragma once

#include <QLabel>
#include <vector>

namespace tabvet {

class VersionCaption final : public QLabel {
    Q_OBJECT
  public:
    VersionCaption(const QString& text, QWidget* parent);
    /// The widgets the pieces of the text (its words and dots, in order) are centred under.
    void SetColumns(std::vector<const QWidget*> columns) { columns_ = std::move(columns); }

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    std::vector<const QWidget*> columns_;
};

}  // namespace tabvet
