-- a song that the store knew by its inode, whose old path is free and whose new one is new, has become another
select was.path||' is '||f.path
from now_file f join old_song s on s.id = f.ino join old_file was on was.path = s.path
     join old_row o on o.path = was.path join now_row n on n.path = f.path
where f.path not in (select path from old_row) and was.path not in (select path from now_file)
  and f.nlink = '1' and was.nlink = '1' and n.ObjID is not o.ObjID
  and (f.size,f.mtime,f.extension) = (was.size,was.mtime,was.extension);
