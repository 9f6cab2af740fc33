<report dict=texts[1]>
<plugin name=std, lib=vorn-std, init=std_init(), end=std_end()>
<iterate var=n, from=1, to=ifstats@ports>
<section id=down, top=0, bottom=0, enabled-by=std.compare(item:link;op:eq;number:0;app:port${n})>
<row cstyle='%s %s: %s'><value dict>line</value><value>${n}</value><value link=port${n}@link></value></row>
</section>
<section id=measured, top=0, bottom=0, enabled-by=std.present(item:rxErrors;app:port${n})>
<section id=errors, top=0, bottom=0, enabled-by=!std.within(item:rxErrors;high:10;app:port${n})>
<row cstyle='%s %s: %u errors'><value dict>line</value><value>${n}</value><value link=port${n}@rxErrors></value></row>
</section>
</section>
</iterate>
</report>
