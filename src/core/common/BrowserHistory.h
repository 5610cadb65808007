#pragma once
// The back and forward history of one browser: the places the user selected, in the order
// selected. The list only grows: going back and then selecting something new keeps the items
// that lay ahead, before the new one, where Back still reaches them. Clear empties it.
//
// The history does not navigate: Back, Forward and GoTo move the current item and return the
// path the browser must go to. While the browser goes there the owner turns recording off,
// so that the selection changes of that navigation add nothing.

#include <QList>
#include <QString>

class CBrowserHistory {
public:
    struct Item {
        QString path;
        QString displayName;
        qint64 index = 0;  // the position in the list, fixed when added
        int icon = -1;     // the owner's icon number, -1 for none
    };

    explicit CBrowserHistory(int stepsShown = 5) : m_stepsShown(stepsShown) {}

    // The last component of a path: a trailing "/" is dropped first, then everything up to
    // the last "/"; the root "/" stays "/" and a name without "/" is kept whole.
    static QString DisplayName(const QString& path);

    // Appends the item for `path` and makes it current. `displayName` replaces the name
    // taken from the path (for places the trees show by their own label).
    void Add(const QString& path, int icon = -1, const QString& displayName = {});
    // Move the current item and return its path. Only valid when enabled (CanGoBack,
    // CanGoForward, an index inside the list).
    QString Back();
    QString Forward();
    QString GoTo(qint64 index);
    void Clear();

    bool CanGoBack() const { return m_current > 0; }
    bool CanGoForward() const { return m_current != -1 && m_current < Count() - 1; }
    bool CanClear() const { return CanGoBack() || CanGoForward(); }

    // The display names of the items before and after the current one, or empty text.
    QString PreviousName() const;
    QString NextName() const;

    // The indexes a Back menu lists (current - 1 down to current - steps, newest first) and
    // a Forward menu lists (current + 1 up to current + steps).
    QList<qint64> BackMenuIndexes() const;
    QList<qint64> ForwardMenuIndexes() const;

    bool IsRecording() const { return m_recording; }
    void SetRecording(bool on) { m_recording = on; }
    int StepsShown() const { return m_stepsShown; }
    void SetStepsShown(int steps) { m_stepsShown = steps; }

    qint64 CurrentIndex() const { return m_current; }
    qint64 Count() const { return m_items.size(); }
    const Item& At(qint64 index) const;

private:
    QList<Item> m_items;
    qint64 m_current = -1;
    bool m_recording = true;
    int m_stepsShown;
};
