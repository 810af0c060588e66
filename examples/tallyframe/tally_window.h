// A frame of counters.
#pragma once

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>
#include <QWidget>

#include "examples/tallyframe/tally_store.h"

namespace quillmoor::tallyframe {

class TallyWindow : public QWidget {
    Q_OBJECT
  public:
    // Every change is saved to `file` immediately. A damaged file is kept under another name.
    TallyWindow(QString file, SavedCounters saved);

  private:
    struct Row {
        QLineEdit* name;
        QPushButton* less;
        QLabel* count;
        QPushButton* more;
        QPushButton* remove;
    };

    void rebuild();
    void addRow(std::size_t index);
    void showRow(std::size_t index, const Row& row);
    void connectRow(std::size_t index, const Row& row);
    void showTotal();
    void save();
    bool keepDamagedFile();

    QString file_;
    Counters counters_;
    bool isDamaged_;  // what is at `file_`
    QString notice_;  // below the total; about a damaged file
    QVBoxLayout* rows_;
    QLabel* status_;
};

}  // namespace quillmoor::tallyframe
