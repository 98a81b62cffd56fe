-- a double row
select path from now_row group by path having count(*) > 1;
-- a number is another row's
select path from now_row group by tbl,No having count(*) > 1;
-- an identifier is another row's
select path from now_row group by tbl,ObjID having count(*) > 1;
-- a double folder row
select path from now_folder_row group by path having count(*) > 1;
-- an identifier is another folder's
select path from now_folder_row group by ObjID having count(*) > 1;

-- a row without a file
select path from now_row where path not in (select path from now_file);
-- a file without a row
select path from now_file where path not in (select path from now_row);
-- in the wrong table
select path from now_file f join now_row r using (path) where r.tbl is not f.tbl;
-- not its size
select path from now_file f join now_row r using (path) where r.Size is not f.size;
-- not its date
select path from now_file f join now_row r using (path) where r.Date is not f.date;
-- not its depth
select path from now_file f join now_row r using (path) where r.Depth is not f.depth;
-- not its parent
select path from now_file f join now_row r using (path)
where r.ParentID is not (select ObjID from now_folder_row where path = f.folder);

-- a row without a folder
select path from now_folder_row where path not in (select path from now_folder);
-- a folder without a row
select path from now_folder where must_have_row = '1' and path not in (select path from now_folder_row);
-- not its parent
select path from now_folder f join now_folder_row r using (path)
where r.parent is not ifnull((select ObjID from now_folder_row where path = f.around),'0');
-- not its level
select path from now_folder f join now_folder_row r using (path) where r.level is not f.depth;

-- all playlists name the same three songs of their own folder
select l.path||' names '||l.songs from now_row l join now_file f using (path)
where f.extension = '.m3u' and l.songs is not
  ifnull((select No||',' from now_row where path = f.folder||'a1.mp3'),'')||
  ifnull((select No||',' from now_row where path = f.folder||'B2.mp3'),'')||
  ifnull((select No||',' from now_row where path = f.folder||'c3.mp3'),'');

-- a record without a song
select path from now_song where id not in (select ino from now_file where is_song = '1');
-- a song without a record
select path from now_file where is_song = '1' and ino not in (select id from now_song);
-- a record under another path, of a file with two names under either
select path from now_song s where path not in (select path from now_file where ino = s.id and is_song = '1');
-- another name in its record
select path from now_song join now_file using (path) where fname is not name;
-- an old record
select s.path from now_song s join now_file f on f.ino = s.id where s.size is not f.size or s.mtime is not f.mtime;

-- a number too many
select 'music_sortidx_tbl '||idx from music_sortidx_tbl group by idx
having count(*) > 1 or idx not in (select No from music_tbl where EXT_fname not in ('m3u','pls'));
-- a number too many
select 'video_sortidx_tbl '||idx from video_sortidx_tbl group by idx
having count(*) > 1 or idx not in (select No from video_tbl where EXT_fname != 'srt');
-- a number too many
select 'photo_sortidx_tbl '||idx from photo_sortidx_tbl group by idx
having count(*) > 1 or idx not in (select No from photo_tbl);
-- an item is missing
select Title from music_tbl where EXT_fname not in ('m3u','pls') and No not in (select idx from music_sortidx_tbl);
-- an item is missing
select UTF_fname from video_tbl where EXT_fname != 'srt' and No not in (select idx from video_sortidx_tbl);
-- an item is missing
select UTF_fname from photo_tbl where No not in (select idx from photo_sortidx_tbl);
-- not in order
with item as (select 'music' kind,s.ROWID place,Title text from music_sortidx_tbl s join music_tbl on No = idx
        union all select 'video',s.ROWID,UTF_fname from video_sortidx_tbl s join video_tbl on No = idx
        union all select 'photo',s.ROWID,UTF_fname from photo_sortidx_tbl s join photo_tbl on No = idx),
     keyed as (select kind,place,text,
                 case when substr(text,1,1) between 'A' and 'Z' then lower(substr(text,1,1)) else text end key from item)
select text from (select text,key,lag(key) over (partition by kind order by place) last from keyed) where key < last;

-- other groups than the songs have
with song as (select * from music_tbl where EXT_fname not in ('m3u','pls')),
     wanted as (select 'genre' kind,Genre name,count(*) cnt from song group by 2
      union all select 'artist',Artist,count(*) from song group by 2
      union all select 'album',Album,count(*) from song group by 2),
     found as (select 'genre' kind,name,sum(cnt) cnt from music_sortGen_tbl group by 2
     union all select 'artist',name,sum(cnt) from music_sortArt_tbl group by 2
     union all select 'album',name,sum(cnt) from music_sortAlb_tbl group by 2)
select * from (select kind||' '||ifnull(name,'')||' '||cnt from wanted
               except select kind||' '||ifnull(name,'')||' '||cnt from found)
union all
select * from (select kind||' '||ifnull(name,'')||' '||cnt from found
               except select kind||' '||ifnull(name,'')||' '||cnt from wanted);
-- a repeated identifier
select name from music_sortGen_tbl group by ObjID having count(*) > 1
union all select name from music_sortArt_tbl group by ObjID having count(*) > 1
union all select name from music_sortAlb_tbl group by ObjID having count(*) > 1;

-- a folder of music, video or photos that is not known for it; paths that are not plain ASCII are another matter
select f.path||' '||r.tbl from path_objid_tbl f join now_row r on substr(r.path,1,length(f.path)) = f.path
where f.path not glob '*[^ -~]*'
  and case r.tbl when 'music_tbl' then have_music when 'video_tbl' then have_video else have_photo end is not '1';
