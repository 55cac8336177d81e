<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="ar" sourcelanguage="en">
<context>
    <name>QObject</name>
    <message>
        <source>TARN Console</source>
        <translation>طرفية TARN</translation>
    </message>
    <message>
        <source>TARN executable to run</source>
        <translation>ملف TARN التنفيذي المطلوب تشغيله</translation>
    </message>
    <message>
        <source>PATH</source>
        <translation>المسار</translation>
    </message>
    <message>
        <source>.tarn or .ترن source to select without running</source>
        <translation>ملف مصدر ‎.tarn أو .ترن يُختار دون تشغيله</translation>
    </message>
</context>
<context>
    <name>QTextEdit</name>
    <message>
        <source>Copy</source>
        <translation>انسخ</translation>
    </message>
    <message>
        <source>Select all</source>
        <translation>حدّد الكل</translation>
    </message>
</context>
<context>
    <name>tarn::console::ConsoleWindow</name>
    <message>
        <source>TARN Console</source>
        <translation>طرفية TARN</translation>
    </message>
    <message>
        <source>A program is still running.</source>
        <translation>ما زال هناك برنامج قيد التشغيل.</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>ألغِ</translation>
    </message>
    <message>
        <source>Stop and close</source>
        <translation>أوقف وأغلق</translation>
    </message>
    <message>
        <source>TARN Console help</source>
        <translation>مساعدة طرفية TARN</translation>
    </message>
    <message>
        <source>Open one .tarn or .ترن source file, choose the TARN executable if needed, then run it. Use the input field for one program line at a time. Output stays selectable and copyable after the program exits.</source>
        <translation>افتح ملف مصدر واحدًا بالامتداد ‎.tarn أو .ترن، واختر ملف TARN التنفيذي عند الحاجة، ثم شغّل المصدر. استخدم حقل الإدخال لإرسال سطر واحد إلى البرنامج في كل مرة. تبقى المخرجات قابلة للتحديد والنسخ بعد انتهاء البرنامج.</translation>
    </message>
    <message>
        <source>No match</source>
        <translation>لا نتائج</translation>
    </message>
    <message>
        <source>Wrapped</source>
        <translation>من البداية</translation>
    </message>
    <message>
        <source>Program input must be one line.</source>
        <translation>يجب أن يكون إدخال البرنامج سطرًا واحدًا.</translation>
    </message>
    <message>
        <source>Program input exceeds the 65,536-byte limit.</source>
        <translation>يتجاوز إدخال البرنامج الحد البالغ 65,536 بايتًا.</translation>
    </message>
    <message>
        <source>Input sent.</source>
        <translation>أُرسل الإدخال.</translation>
    </message>
    <message>
        <source>Sending input</source>
        <translation>جارٍ إرسال الإدخال</translation>
    </message>
    <message>
        <source>Start a program before sending input.</source>
        <translation>شغّل برنامجًا قبل إرسال الإدخال.</translation>
    </message>
    <message>
        <source>Input is closed for this run.</source>
        <translation>الإدخال مغلق في هذا التشغيل.</translation>
    </message>
    <message>
        <source>Input</source>
        <translation>إدخال</translation>
    </message>
    <message>
        <source>Closing input after the pending line.</source>
        <translation>سيُغلق الإدخال بعد إرسال السطر المعلّق.</translation>
    </message>
    <message>
        <source>Input closed. The draft was not sent.</source>
        <translation>أُغلق الإدخال. لم تُرسل المسوّدة.</translation>
    </message>
    <message>
        <source>Input closed for this run.</source>
        <translation>أُغلق الإدخال في هذا التشغيل.</translation>
    </message>
    <message>
        <source>Program input must be one line. The draft was unchanged.</source>
        <translation>يجب أن يكون إدخال البرنامج سطرًا واحدًا. لم تتغيّر المسوّدة.</translation>
    </message>
    <message>
        <source>Source file</source>
        <translation>ملف المصدر</translation>
    </message>
    <message>
        <source>Program input</source>
        <translation>إدخال البرنامج</translation>
    </message>
    <message>
        <source>Find output</source>
        <translation>ابحث في المخرجات</translation>
    </message>
    <message>
        <source>Program output</source>
        <translation>مخرجات البرنامج</translation>
    </message>
    <message>
        <source>File</source>
        <translation>ملف</translation>
    </message>
    <message>
        <source>Edit</source>
        <translation>تحرير</translation>
    </message>
    <message>
        <source>View</source>
        <translation>عرض</translation>
    </message>
    <message>
        <source>Language</source>
        <translation>اللغة</translation>
    </message>
    <message>
        <source>Help</source>
        <translation>مساعدة</translation>
    </message>
    <message>
        <source>Content direction</source>
        <translation>اتجاه المحتوى</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>افتح</translation>
    </message>
    <message>
        <source>Choose TARN</source>
        <translation>اختر TARN</translation>
    </message>
    <message>
        <source>Run</source>
        <translation>شغّل</translation>
    </message>
    <message>
        <source>Stop</source>
        <translation>أوقف</translation>
    </message>
    <message>
        <source>Send</source>
        <translation>أرسل</translation>
    </message>
    <message>
        <source>Close input</source>
        <translation>أغلق الإدخال</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>انسخ</translation>
    </message>
    <message>
        <source>Paste</source>
        <translation>ألصق</translation>
    </message>
    <message>
        <source>Find</source>
        <translation>ابحث</translation>
    </message>
    <message>
        <source>Clear output</source>
        <translation>امسح المخرجات</translation>
    </message>
    <message>
        <source>Focus output</source>
        <translation>انتقل إلى المخرجات</translation>
    </message>
    <message>
        <source>Focus program input</source>
        <translation>انتقل إلى إدخال البرنامج</translation>
    </message>
    <message>
        <source>Zoom in</source>
        <translation>قرّب</translation>
    </message>
    <message>
        <source>Zoom out</source>
        <translation>بعّد</translation>
    </message>
    <message>
        <source>Actual size</source>
        <translation>الحجم الفعلي</translation>
    </message>
    <message>
        <source>Auto</source>
        <translation>تلقائي</translation>
    </message>
    <message>
        <source>LTR</source>
        <translation>من اليسار إلى اليمين</translation>
    </message>
    <message>
        <source>RTL</source>
        <translation>من اليمين إلى اليسار</translation>
    </message>
    <message>
        <source>العربية</source>
        <translation>العربية</translation>
    </message>
    <message>
        <source>English</source>
        <translation>English</translation>
    </message>
    <message>
        <source>Settings</source>
        <translation>الإعدادات</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>اخرج</translation>
    </message>
    <message>
        <source>Interface language</source>
        <translation>لغة الواجهة</translation>
    </message>
    <message>
        <source>Interface font</source>
        <translation>خط الواجهة</translation>
    </message>
    <message>
        <source>Font size</source>
        <translation>حجم الخط</translation>
    </message>
    <message>
        <source>Starting TARN program</source>
        <translation>جارٍ بدء تشغيل برنامج TARN</translation>
    </message>
    <message>
        <source>Running</source>
        <translation>قيد التشغيل</translation>
    </message>
    <message>
        <source>Stopping</source>
        <translation>جارٍ الإيقاف</translation>
    </message>
    <message>
        <source>Output capture limit reached</source>
        <translation>بلغت المخرجات الحد الأقصى</translation>
    </message>
    <message>
        <source>Returned status %1</source>
        <translation>انتهى البرنامج بالحالة %1</translation>
    </message>
    <message>
        <source>Program terminated by signal</source>
        <translation>أُنهي البرنامج بإشارة</translation>
    </message>
    <message>
        <source>Could not start TARN: %1</source>
        <translation>تعذّر بدء تشغيل TARN: %1</translation>
    </message>
    <message>
        <source>Console process failure: %1</source>
        <translation>خلل في العملية التي تشغّلها الطرفية: %1</translation>
    </message>
    <message>
        <source>Program stopped by user</source>
        <translation>أوقف المستخدم البرنامج</translation>
    </message>
    <message>
        <source>Input is open.</source>
        <translation>الإدخال مفتوح.</translation>
    </message>
    <message>
        <source>not sent</source>
        <translation>لم تُرسل</translation>
    </message>
    <message>
        <source>Run complete.</source>
        <translation>اكتمل التشغيل.</translation>
    </message>
    <message>
        <source>No source selected</source>
        <translation>لم يُختر ملف مصدر</translation>
    </message>
    <message>
        <source>Choose TARN source</source>
        <translation>اختر ملف مصدر TARN</translation>
    </message>
    <message>
        <source>TARN source (*.tarn *.ترن);;All files (*)</source>
        <translation>ملفات مصدر TARN (‎*.tarn *.ترن);;كل الملفات (*)</translation>
    </message>
    <message>
        <source>Choose TARN executable</source>
        <translation>اختر ملف TARN التنفيذي</translation>
    </message>
    <message>
        <source>Executable files (*)</source>
        <translation>الملفات التنفيذية (*)</translation>
    </message>
    <message>
        <source>TARN executable selected</source>
        <translation>اختير ملف TARN التنفيذي</translation>
    </message>
    <message>
        <source>Choose a source file / اختر ملف مصدر.</source>
        <translation>اختر ملف مصدر / Choose a source file.‎</translation>
    </message>
    <message>
        <source>Selected source is missing or unreadable: %1</source>
        <translation>ملف المصدر المختار مفقود أو تتعذّر قراءته: %1</translation>
    </message>
    <message>
        <source>TARN executable is unavailable. Choose TARN / اختر TARN. %1</source>
        <translation>ملف TARN التنفيذي غير متاح. اختر TARN / Choose TARN. %1</translation>
    </message>
    <message>
        <source>Run: %1</source>
        <translation>تشغيل: %1</translation>
    </message>
    <message>
        <source>Program errors</source>
        <translation>أخطاء البرنامج</translation>
    </message>
    <message>
        <source>Notice</source>
        <translation>تنبيه</translation>
    </message>
    <message>
        <source>Error output: %1</source>
        <translation>مخرجات الأخطاء: %1</translation>
    </message>
    <message>
        <source>Lines left out: %1</source>
        <translation>عدد الأسطر المتروكة: %1</translation>
    </message>
    <message>
        <source>The settings could not be saved.</source>
        <translation>تعذّر حفظ الإعدادات.</translation>
    </message>
</context>
</TS>
